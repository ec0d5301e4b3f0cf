#include "host/accounts/account_record.h"

#include <stdlib.h>

#include <string_view>

#include "host/accounts/packed_text.h"

namespace kest {
namespace {

struct Texts {
  std::string_view name, description, home, shell, email;
};

KESTUSER* NewRecord(const KESTUSER& numbers, const Texts& texts) {
  const size_t bytes =
      texts.name.size() + texts.description.size() + texts.home.size() + texts.shell.size() + texts.email.size() + 6;
  auto* record = static_cast<KESTUSER*>(malloc(sizeof(KESTUSER) + bytes));
  if (record == nullptr) return nullptr;
  *record = numbers;
  char* at = reinterpret_cast<char*>(record + 1);
  record->name = AppendText(&at, texts.name);
  record->passwd = AppendText(&at, "");
  record->desc = AppendText(&at, texts.description);
  record->home = AppendText(&at, texts.home);
  record->shell = AppendText(&at, texts.shell);
  record->email = AppendText(&at, texts.email);
  return record;
}

}  // namespace

KESTUSER* RecordOfAccount(const Account& account) {
  KESTUSER numbers = {};
  numbers.uid = account.uid;
  numbers.gid = account.gid;
  numbers.expire = account.expire_day;
  numbers.noChPasswd = account.no_password_change ? 1 : 0;
  numbers.attr = account.attributes;
  numbers.privilege = account.privilege;
  return NewRecord(numbers, {account.name, account.description, account.home, account.shell, account.email});
}

KESTUSER* RecordOfRow(const Statement& row) {
  KESTUSER numbers = {};
  numbers.uid = row.Int(0);
  numbers.gid = row.Int(2);
  numbers.expire = row.Int(7);
  numbers.noChPasswd = row.Int(8) != 0 ? 1 : 0;
  numbers.attr = row.Int(9);
  numbers.privilege = row.Int(10);
  return NewRecord(numbers, {row.View(1), row.View(3), row.View(4), row.View(5), row.View(6)});
}

}  // namespace kest
