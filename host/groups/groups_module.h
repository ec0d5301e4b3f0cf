// What libkest.so asks of libkest_accounts.so about groups: they lie in the accounts' database.
#ifndef KEST_HOST_GROUPS_GROUPS_MODULE_H_
#define KEST_HOST_GROUPS_GROUPS_MODULE_H_

#include "host/accounts/name_list.h"
#include "host/module/module.h"
#include "platform/kestdir.h"

// Results: negative is an ErrorCode with its sign turned (logged where the machine is to blame), else 0 or what is
// named.
struct KestGroupsModule {
  int (*record)(const char* name, KESTGROUP** out);
  // *changed: whether the group has got other members.
  int (*save)(const char* existing_or_null, const KESTGROUP* group, bool* changed);
  int (*read_description)(const char* name, char** text, int* gid);
  int (*write_description)(const char* name, const char* text_or_null);
  int (*open_cursor)(KESTGROUPDB** cursor);
  int (*next)(KESTGROUPDB* cursor, KESTGROUP** out);  // 1 delivered, 0 at the end
  void (*close_cursor)(KESTGROUPDB* cursor);
  int (*names)(const char* prefix, kest::NameSink sink, void* context);  // their number
};

KEST_MODULE_TABLE(KestGroupsModule, KestGroupsModuleTable);

#endif  // KEST_HOST_GROUPS_GROUPS_MODULE_H_
