// What a share object holds.
#ifndef TARVEL_SHARE_PRIV_H
#define TARVEL_SHARE_PRIV_H

#include <cstdlib>
#include <memory>
#include <set>
#include <string>

#include "group.h"
#include "platform/kestdir.h"

namespace SDK {

struct SharePriv {
  using Names = std::set<std::string, LTOBJ>;

  struct FreeMoveArgs {
    void operator()(KESTCOPYARGS* args) const { std::free(args); }
  };

  /// Values of an encryption state.
  enum Encryption { kClear = 0, kSecondState = 1, kEncrypted = 2, kAutoMount = 4 };
  static constexpr int kStateMask = kSecondState | kEncrypted;

  SharePriv(const std::string& of, const std::string& path, bool shown)
      : name(of), full_path(path), browseable(shown) {}
  explicit SharePriv(const KESTSHARE& record);

  std::string name;
  std::string desc;
  std::string full_path;
  std::string loaded_name;
  Names rw_set;
  Names ro_set;
  Names na_set;
  std::string rw_list;
  std::string ro_list;
  std::string na_list;
  std::string enc_key;
  int status = kClear;
  int ftp_privilege = 0;
  int attributes = 2;
  bool browseable;
  std::unique_ptr<KESTCOPYARGS, FreeMoveArgs> move_args;
};

}  // namespace SDK

#endif  // TARVEL_SHARE_PRIV_H
