#ifndef TARVEL_EXPORT_H
#define TARVEL_EXPORT_H

/// Marks what programs may use. Everything else in the library is compiled with hidden visibility, so that the
/// dynamic linker has few symbols to look up at each start of a program.
#define TARVEL_EXPORT [[gnu::visibility("default")]]

#endif  // TARVEL_EXPORT_H
