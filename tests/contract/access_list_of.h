#ifndef TESTS_CONTRACT_ACCESS_LIST_OF_H_
#define TESTS_CONTRACT_ACCESS_LIST_OF_H_

#include <stdint.h>
#include <string.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>

/// What the kernel keeps of a folder's access list, as "u:1026:rwx g:100:r-x": the entries that name somebody, accounts
/// first, each in the order of its number. The appliance's own is left out. "none" without a list.
inline std::string AccessListOf(const std::string& path, const char* which = "access") {
  char bytes[4096];
  const ssize_t size = getxattr(path.c_str(), (std::string("system.posix_acl_") + which).c_str(), bytes, sizeof(bytes));
  if (size < 4) return "none";
  std::string text;
  for (ssize_t at = 4; at + 8 <= size; at += 8) {
    uint16_t tag = 0, rights = 0;
    uint32_t id = 0;
    memcpy(&tag, bytes + at, 2);
    memcpy(&rights, bytes + at + 2, 2);
    memcpy(&id, bytes + at + 4, 4);
    const bool names_somebody = (tag == 2 && id != geteuid()) || tag == 8;
    if (!names_somebody) continue;
    text += std::string(text.empty() ? "" : " ") + (tag == 2 ? "u:" : "g:") + std::to_string(id) + ":" +
            ((rights & 4) != 0 ? "r" : "-") + ((rights & 2) != 0 ? "w" : "-") + ((rights & 1) != 0 ? "x" : "-");
  }
  return text;
}

#endif  // TESTS_CONTRACT_ACCESS_LIST_OF_H_
