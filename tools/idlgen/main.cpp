// Prints the type library as IDL text.
#include <iostream>

int main() { return 0; }
