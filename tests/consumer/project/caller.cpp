// A program that calls the platform by itself: it names the header and links the library.
#include <tarvel/platform/klib.h>

int main() { return KLIBUnicodeUTF8StrCountChar("four") == 4 ? 0 : 1; }
