#ifndef TESTS_CONTRACT_DIRECTORY_FIXTURE_H_
#define TESTS_CONTRACT_DIRECTORY_FIXTURE_H_

#include <filesystem>
#include <string>
#include <vector>

#include "platform/kestdir.h"
#include "session_fixture.h"
#include "text_list.h"

/// A record with the defaults that the library gives a new account.
struct NewAccount {
  explicit NewAccount(const std::string& given, const std::string& secret = "") : name(given), passwd(secret) {
    home = "/var/services/homes/" + given;
  }

  KESTUSER Record() {
    KESTUSER record = {};
    record.name = name.data();
    record.passwd = passwd.data();
    record.uid = uid;
    record.gid = gid;
    record.desc = desc.data();
    record.home = home.data();
    record.shell = shell.data();
    record.expire = expire;
    record.noChPasswd = noChPasswd;
    record.email = email.data();
    record.attr = attr;
    record.privilege = privilege;
    return record;
  }

  /// Creates the account, or changes the one of that name.
  int Save(const char* existing = nullptr) {
    KESTUSER record = Record();
    KESTUSER* records[] = {&record};
    return KESTUserSet(&existing, records, 1);
  }

  std::string name, passwd, desc, home, shell = "/sbin/nologin", email;
  int uid = -1, gid = 100, expire = -1, noChPasswd = 0, attr = 1, privilege = 3;
};

/// A group as a caller builds it.
struct NewGroup {
  explicit NewGroup(const std::string& given, std::vector<std::string> names = {})
      : name(given), members(std::move(names)) {}

  int Save(const char* existing = nullptr) {
    std::vector<char*> pointers;
    for (std::string& member : members) pointers.push_back(member.data());
    pointers.push_back(nullptr);
    KESTGROUP record = {name.data(), gid, pointers.data(), 0, 0};
    return KESTGroupSet(existing, &record);
  }

  std::string name;
  std::vector<std::string> members;
  int gid = -1;
};

/// What a slot of the platform's records holds, released with the test.
template <typename Record, void (*Free)(Record*)>
class RecordSlot {
 public:
  RecordSlot() = default;
  ~RecordSlot() { Free(record_); }
  RecordSlot(const RecordSlot&) = delete;
  RecordSlot& operator=(const RecordSlot&) = delete;
  Record** operator&() { return &record_; }
  Record* operator->() const { return record_; }
  Record* get() const { return record_; }

 private:
  Record* record_ = nullptr;
};
using UserSlot = RecordSlot<KESTUSER, KESTUserFree>;
using GroupSlot = RecordSlot<KESTGROUP, KESTGroupFree>;

/// A directory without accounts.
class DirectoryTest : public SessionTest {
 protected:
  void SetUp() override;

  /// Makes accounts without passwords, quickly. Lines of `kestaccount load`.
  static int Load(const std::string& lines) { return Account({"load"}, lines); }

  static std::vector<std::string> AccountNames(AUTH_TYPE type = AUTH_TYPE_LOCAL);
  static std::vector<std::string> GroupNames(AUTH_TYPE type = AUTH_TYPE_LOCAL);
  /// As the platform gives them out; {"?"} when there is no such group.
  static std::vector<std::string> Members(const char* group);
  static std::string Description(const char* group);
  /// "refused" with that code and nothing else.
  static void IsRefused(int code, int result);

  /// Runs `work` in a process of its own and kills it after so long, or lets it end.
  static void KillDuring(const std::function<void()>& work, useconds_t after_us);
};

#endif  // TESTS_CONTRACT_DIRECTORY_FIXTURE_H_
