#ifndef KEST_HOST_CGI_PART_HEADER_H_
#define KEST_HOST_CGI_PART_HEADER_H_

#include <string>
#include <string_view>

namespace kest {

// What the header of one part of an upload says.
struct PartHeader {
  std::string name;
  bool is_file = false;
  std::string file_name;  // as the client wrote it
};

// Reads the header lines of a part, each ended by CR LF.
// @return false when a line has no colon, is folded or holds a NUL, when there are more than `lines_max`, or when they
//         do not give exactly one field name (RFC 7578), or announce an encoding of the content
bool ParsePartHeader(std::string_view lines, size_t lines_max, PartHeader* out);

// The boundary that a Content-Type of multipart/form-data names.
// @return false when there is none, or it is not one of RFC 2046: 1 to 70 characters of its set, no blank at the end
bool BoundaryOf(std::string_view content_type, std::string* boundary);

// Last component of a client's file name, made fit for a file name here: what stands before the last "/" or "\" goes,
// and blanks at either end; control characters and bytes that are not valid UTF-8 become "_"; at most 255 bytes stay,
// whole characters. A name of which nothing is left, "." and ".." become "unnamed".
std::string ClientBaseName(std::string_view name);

}  // namespace kest

#endif  // KEST_HOST_CGI_PART_HEADER_H_
