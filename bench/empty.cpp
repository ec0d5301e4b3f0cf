// What mapping and relocating the C++ runtime costs: it is linked, and nothing is done with it.
int main() { return 0; }
