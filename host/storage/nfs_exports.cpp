#include "host/storage/nfs_exports.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/klib/error_code.h"
#include "host/klib/file_read.h"
#include "host/klib/file_replace.h"
#include "host/klib/key_value_file.h"
#include "host/klib/key_value_line.h"
#include "host/klib/run_program.h"
#include "host/storage/guarded_call.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

constexpr int kExportfsSeconds = 30;

bool IsLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

std::string Escaped(std::string_view folder) {
  constexpr std::string_view kPlain = "/._-";
  std::string out;
  for (const char c : folder) {
    if (IsLetterOrDigit(c) || kPlain.find(c) != std::string_view::npos || static_cast<unsigned char>(c) >= 0x80) {
      out += c;
      continue;
    }
    const unsigned byte = static_cast<unsigned char>(c);
    for (const unsigned shift : {6U, 3U, 0U}) {
      if (shift == 6) out += '\\';
      out += static_cast<char>('0' + ((byte >> shift) & 7U));
    }
  }
  return out;
}

bool AreClients(std::string_view clients) {
  constexpr std::string_view kOthers = ".:/*?@_,=()[]- ";
  for (const char c : clients) {
    if (!IsLetterOrDigit(c) && kOthers.find(c) == std::string_view::npos) return false;
  }
  // A list of options alone, or one that a blank separates from its client, opens the folder to the whole world.
  return clients.find_first_not_of(' ') != std::string_view::npos && clients[0] != '(' &&
         clients.find(" (") == std::string_view::npos;
}

int Fail(int error) { return FailWith(ErrorCodeOf(error)); }

// The rule of a folder: its line, "" when it is not exported.
int ReadRule(const char* rules, std::string_view folder, std::string* line) {
  KeyValueFile file;
  if (!file.Load(rules) && errno != ENOENT) return Fail(errno);
  const char* const clients = file.Find(folder);
  line->clear();
  if (clients == nullptr || *clients == '\0') return 0;
  *line = ExportLine(folder, clients);
  return line->empty() ? FailWith(kErrorBadParameter) : 0;
}

bool MakeFolder(const char* path) { return mkdir(path, 0755) == 0 || errno == EEXIST; }

// *had tells whether the file is there, and so whether the server may know something of it.
int Write(const NfsFiles& files, std::string_view folder, const std::string& line, bool* had) {
  *had = access(files.exports, F_OK) == 0;
  if (!*had && line.empty()) return 0;
  if (!MakeFolder(files.exports_folder)) return Fail(errno);
  FileReplace file;
  std::string old;
  if (!file.Open(files.exports) || !ReadWholeFile(file.Path(), kTextFileMax, &old)) return Fail(errno);
  const std::string text = WithExport(old, folder, line);
  if (text.size() > kTextFileMax) return Fail(EFBIG);
  *had = true;
  return text == old || file.Commit(text) ? 0 : Fail(errno);
}

}  // namespace

std::string ExportLine(std::string_view folder, std::string_view clients) {
  return AreClients(clients) ? Escaped(folder) + " " + std::string(clients) + "\n" : "";
}

std::string WithExport(std::string_view text, std::string_view folder, std::string_view line) {
  const std::string start = Escaped(folder) + " ";
  std::string out;
  bool placed = false;
  while (!text.empty()) {
    const std::string_view old = TakeLine(&text);
    if (old.substr(0, start.size()) != start) {
      out.append(old) += '\n';
    } else if (!placed) {
      out.append(line);
      placed = true;
    }
  }
  if (!placed) out.append(line);
  return out;
}

int ApplyNfsRule(const NfsFiles& files, const char* folder) {
  std::string_view path = folder;
  while (!path.empty() && path.back() == '/') path.remove_suffix(1);
  _tag_vol_id_ id;
  if (!IsPlainPath(path) || !ParseVolumePath(path, &id)) return FailWith(kErrorBadParameter);
  std::string line;
  bool server_knows = false;
  if (ReadRule(files.rules, path, &line) != 0 || Write(files, path, line, &server_knows) != 0) return -1;
  if (!server_knows || access(files.exportfs, X_OK) != 0) return 0;
  const char* const arguments[] = {files.exportfs, "-r", nullptr};
  const int status = RunProgram(arguments, kExportfsSeconds);
  if (status < 0) return Fail(errno);
  return status == 0 ? 0 : FailWith(kErrorSystem);
}

}  // namespace kest

int KESTNFSRuleSetAll(const char* path, int /*zero*/) {
  if (path == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([path] { return kest::ApplyNfsRule({}, path); });
}
