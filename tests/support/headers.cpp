// Stands for the precompiled header that every test shares.
int main() { return 0; }
