#ifndef KEST_HOST_STORAGE_NFS_EXPORTS_H_
#define KEST_HOST_STORAGE_NFS_EXPORTS_H_

#include <string>
#include <string_view>

namespace kest {

struct NfsFiles {
  // Who may mount which folder: lines FOLDER="CLIENTS", with CLIENTS as in exports(5), as
  // /volume1/photo="192.168.1.0/24(rw,no_subtree_check)". A folder without a line, or with "", is not exported.
  const char* rules = "/usr/kest/etc/nfs.conf";
  // What the NFS server reads. The file is ours alone.
  const char* exports_folder = "/etc/exports.d";
  const char* exports = "/etc/exports.d/kest.exports";
  // Makes the kernel's table the same; not there on a machine without an NFS server.
  const char* exportfs = "/usr/sbin/exportfs";
};

// The line that exports a folder, LF included. Every byte of the folder that exports(5) gives a meaning is written as
// a backslash and three octal digits. "" when the clients hold anything but letters, digits and .:/*?@_,=()[]- and
// blanks.
std::string ExportLine(std::string_view folder, std::string_view clients);

// The text with a folder's line replaced, added or (with an empty line) removed; all other lines stand.
std::string WithExport(std::string_view text, std::string_view folder, std::string_view line);

// Brings the exports of one folder in line with its rule.
// @return 0; negative for a folder on no volume, a rule that is none, a file that cannot be read or written, or when
//         exportfs is there and fails (the reason is recorded)
int ApplyNfsRule(const NfsFiles& files, const char* folder);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_NFS_EXPORTS_H_
