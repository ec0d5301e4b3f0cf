// Which part of a long list a request wants.
#ifndef CGI_PAGE_OF_LIST_H
#define CGI_PAGE_OF_LIST_H

#include <tarvel/tarvel.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

namespace site {

/// The entries from `first` up to `last`, not included.
struct PageOfList {
  size_t start;
  size_t count;

  size_t First(size_t total) const { return std::min(start, total); }
  size_t Last(size_t total) const { return std::min(First(total) + count, total); }
};

inline std::optional<size_t> ReadCount(const std::string& digits) {
  if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos) return {};
  return std::strtoul(digits.c_str(), nullptr, 10);
}

/// What "start" and "count" say; nothing when one is no number.
///
/// @param usual  entries of a page that nobody has asked otherwise for
/// @param most   and of any page
inline std::optional<PageOfList> PageOf(Tarvel& request, size_t usual, size_t most) {
  const auto start = ReadCount(request.In("start", "0"));
  const auto count = ReadCount(request.In("count", std::to_string(usual).c_str()));
  if (!start || !count) return {};
  return PageOfList{*start, std::min(*count, most)};
}

}  // namespace site

#endif  // CGI_PAGE_OF_LIST_H
