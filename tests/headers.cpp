// Carries the precompiled headers of the test programs.
int main() {}
