#ifndef KEST_HOST_SHARES_LIST_TEXT_H_
#define KEST_HOST_SHARES_LIST_TEXT_H_

#include <string_view>

namespace kest {

// Calls with each name of a list text, names separated by ","; empty ones are none.
template <typename Call>
void ForEachName(std::string_view text, const Call& call) {
  while (!text.empty()) {
    const size_t end = text.find(',');
    const std::string_view name = text.substr(0, end);
    if (!name.empty()) call(name);
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
}

}  // namespace kest

#endif  // KEST_HOST_SHARES_LIST_TEXT_H_
