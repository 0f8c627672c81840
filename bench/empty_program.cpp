// Starts and ends: the floor of a program that links the registry's libraries.

int main() {}
