bool isCaught();

int main() { return isCaught() ? 0 : 1; }
