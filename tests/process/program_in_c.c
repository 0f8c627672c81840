/* A ported program whose main is in C. */
int main(void) { return 5; }
