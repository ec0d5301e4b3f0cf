#ifndef TESTS_CONTRACT_SHARE_FIXTURE_H_
#define TESTS_CONTRACT_SHARE_FIXTURE_H_

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/kestdir.h"
#include "session_fixture.h"
#include "text_list.h"

/// A share as a caller writes it down.
struct ShareText {
  std::string name, desc, path, na, rw, ro;
  int attr = 2, browseable = 1, ftp = 0, enc = 0;

  bool operator==(const ShareText& other) const { return Fields() == other.Fields(); }
  std::string Fields() const {
    return name + "|" + desc + "|" + path + "|" + na + "|" + rw + "|" + ro + "|" + std::to_string(attr) + "|" +
           std::to_string(browseable) + "|" + std::to_string(ftp) + "|" + std::to_string(enc);
  }
  friend void PrintTo(const ShareText& share, std::ostream* out) { *out << share.Fields(); }
};

/// No shares yet, the fixture's accounts; the folders that a test makes on /volume1 go with it.
class ShareTest : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    before_ = Entries("/volume1");
  }
  void TearDown() override {
    for (const std::string& name : Entries("/volume1")) {
      if (std::find(before_.begin(), before_.end(), name) == before_.end()) {
        std::filesystem::remove_all("/volume1/" + name);
      }
    }
  }

  static std::vector<std::string> Entries(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }

  static ShareText Named(const std::string& name) {
    ShareText share;
    share.name = name;
    share.path = "/volume1/" + name;
    share.rw = "@users";
    return share;
  }

  static int Set(const char* existing, ShareText share, bool move = false) {
    KESTSHARE record = {share.name.data(),
                        share.desc.data(),
                        share.path.data(),
                        share.na.data(),
                        share.rw.data(),
                        share.ro.data(),
                        share.attr,
                        share.browseable,
                        share.ftp,
                        share.enc,
                        0,
                        0};
    KESTCOPYARGS words = {};
    return KESTShareSet(existing, &record, move ? &words : nullptr);
  }
  static int Make(const ShareText& share) { return Set(nullptr, share); }

  /// The stored share; all texts empty when there is none.
  static ShareText Get(const std::string& name) {
    KESTSHARE* slot = nullptr;
    ShareText share;
    if (KESTShareGet(name.c_str(), &slot) == 0) {
      share = {slot->name, slot->desc, slot->path,       slot->na,  slot->rw,
               slot->ro,   slot->attr, slot->browseable, slot->ftp, slot->enc};
    }
    KESTShareFree(slot);
    return share;
  }

  static std::vector<std::string> Names(int type = KEST_SHARE_ENUM_COUNTED, const char* prefix = nullptr) {
    TextList list;
    const auto selector = static_cast<KEST_SHARE_ENUM>(type);
    const int count = prefix == nullptr ? KESTShareEnum(list.Slot(), selector)
                                        : KESTShareEnumByPrefix(list.Slot(), selector, prefix, 1);
    EXPECT_EQ(static_cast<int>(list.Texts().size()), count);
    return list.Texts();
  }

  /// What a call failed with.
  static int Code(int result) {
    EXPECT_GT(0, result);
    return KLIBErrGet();
  }

 private:
  std::vector<std::string> before_;
};

using Strings = std::vector<std::string>;

#endif  // TESTS_CONTRACT_SHARE_FIXTURE_H_
