#ifndef TARVEL_HTTP_FILE_OUTPUTER_H
#define TARVEL_HTTP_FILE_OUTPUTER_H

#include <cstdio>
#include <string>

#include "tarvel_export.h"

/// @file
/// Sends files to browsers: whole, by one byte range or by several (RFC 9110 section 14).

/// One range of a file, as a client asks for it: offsets in bytes, from 0.
struct _tag_HTTP_RANGE_SEGMENT {
  long long start;  ///< first byte; negative where a suffix is longer than the file
  long long end;    ///< last byte, itself in the range
};

/// Sends a file as the whole reply of a CGI program: headers and body, on standard output, and of the file just the
/// ranges that the client asks for (RFC 9110 section 14.2, the header "Range", which the web server hands on in the
/// environment variable "HTTP_RANGE").
///
///     int main() {
///       Tarvel request(true);
///       if (!request.IsAuthorized(nullptr, 1, static_cast<_tag_cgi_position>(0))) return 0;
///       return HTTPFileOutputer().Output("/volume1/video/a.mp4", nullptr) == 0 ? 0 : 1;
///     }
///
/// The reply's header block is written here, each line ending in CR LF. No header may be queued, because that would
/// make a block of its own. Header lines that the program adds (a "Content-Disposition", say) are printed to standard
/// output before, in the same form and without an empty line.
///
/// | the request                           | the reply, header lines in this order                               |
/// |---------------------------------------|---------------------------------------------------------------------|
/// | without ranges                        | Content-Length, Content-Type; the file                              |
/// | one range                             | Status 206, Content-Length, Content-Type, Content-Range; the range  |
/// | several ranges                        | Status 206, Content-Type multipart/byteranges, Content-Length; body |
/// | a range that is malformed or not in the file | Status 416, then as for one range, with the whole file |
///
/// Without ranges is also a "HTTP_RANGE" that does not begin with "bytes=" or has nothing behind it. Several ranges are
/// sent as they were asked for, neither sorted nor merged: for each one CR LF, "--" and the boundary, its Content-Type,
/// its Content-Range, an empty line and its bytes; behind the last one CR LF, "--", the boundary, "--", CR LF. Their
/// Content-Length counts all of that. Status 416 is also the answer when memory runs out while ranges are read.
///
/// What is no regular file (a pipe, a device) has no known length: it is sent up to its end, without Content-Length,
/// and the ranges are ignored.
///
/// The file passes through in pieces of 8192 bytes, so memory does not depend on its size. Sizes and offsets have 64
/// bits on every machine. Failures are told by the results. What is logged goes to syslog at LOG_ERR, begins with the
/// source name `http_file_outputer` and the line number, and is named at each operation.
class TARVEL_EXPORT HTTPFileOutputer {
 public:
  /// Sends the file of a path.
  ///
  /// @param path         the file; null is a failure. It is not checked: the caller has made sure that the client may
  ///                     read it
  /// @param contentType  MIME type, without line breaks; null: GetMimeType() of the path
  /// @return 0 when the reply was written; -1 when the file cannot be opened (nothing is written then, and nothing
  ///         logged), or as below
  int Output(const char* path, const char* contentType);

  /// Sends an open file.
  ///
  /// @param fp           open for reading, never null; read from where it stands, so a fresh one. It stays open
  /// @param name         name or path of the file, for GetMimeType() alone; may be null
  /// @param contentType  MIME type, without line breaks; null: GetMimeType(name)
  /// @return 0 when the reply was written, also when the file ended earlier than its size said; -1 when memory ran out
  ///         before the headers (nothing is written then), or when DumpFile() failed: the reply is then cut off
  int Output(FILE* fp, const char* name, const char* contentType);

  /// The MIME type of a file name, from the table "/usr/kest/etc.defaults/mimetypes.txt": pairs of words, an extension
  /// without dot and a type; the first one with the name's extension counts.
  ///
  /// @param name  name or path; the extension is what stands behind the last "." of all of it, compared without regard
  ///              to case; may be null
  /// @return the type; "application/octet-stream" when there is no extension, no entry for it, or no table. Words are
  ///         read up to 4095 bytes
  std::string GetMimeType(const char* name);

  /// Reads the environment variable "HTTP_RANGE": "bytes=" in any case, then ranges between commas, with white space
  /// around them. Empty pieces between commas do not count.
  ///
  /// @param segments  receives an array from malloc, which the caller releases with `free`, also after -1; null when
  ///                  there is none. With a null `segments` the result is 0
  /// @param fileSize  bytes of the file
  /// @return the number of ranges, at least 1; 0 when no range is asked for; -1 when one of them is malformed or not
  ///         satisfiable; -2 when memory ran out (logged: "PslKLIBSzListAlloc() failed!", "KLIBStrTok() failed!" or
  ///         "malloc for %d HTTP_RANGE_SEGMENT items failed!")
  int SeekHttpRange(_tag_HTTP_RANGE_SEGMENT** segments, long long fileSize);

  /// Reads one range: "FIRST-LAST", "FIRST-" up to the file's end, or "-N" for the last N bytes. A last byte behind the
  /// file's end means that end. Numbers are read as `strtoull` reads them, with blanks and signs in front; nothing may
  /// stand behind them.
  ///
  /// @param range     the text; may be null
  /// @param fileSize  bytes of the file
  /// @param segment   receives the range; its value does not matter unless the result is 1; may be null
  /// @return 1 when it is a range, also when N is more than the file has: `start` is then negative; -1 when the first
  ///         byte lies behind the last one or behind the file's end, or N is 0; 0 when it is malformed, a number is
  ///         beyond the signed 64 bits, an argument is null, or memory ran out (logged: "failed to malloc for string")
  int GetRangeSegment(const char* range, long long fileSize, _tag_HTTP_RANGE_SEGMENT* segment);

  /// Copies a piece of a file. Before each piece of at most 8192 bytes it waits until `out` takes data, for an hour at
  /// most; each piece is flushed.
  ///
  /// Standard output with a smaller stdio buffer than that loses it, so that a piece is one write; what is in it leaves
  /// before.
  ///
  /// @param in      the file; with an offset other than 0 it must be able to seek
  /// @param out     where the bytes go; a file with a descriptor
  /// @param offset  first byte; 0 copies from where `in` stands, without seeking
  /// @param length  how many bytes; not above 0 copies nothing
  /// @return 0 when all was copied, and also when `in` ended or could not be read before that; -1 on a failure
  ///         (logged: "fseeko failed", "write blocked over 3600 seconds", "failed to wait for file descriptor" or
  ///         "failed to write")
  int DumpFile(FILE* in, FILE* out, long long offset, long long length);
};

#endif  // TARVEL_HTTP_FILE_OUTPUTER_H
