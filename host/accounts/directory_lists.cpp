#include "host/accounts/directory_lists.h"

#include "host/klib/string_list.h"

namespace kest {
namespace {

bool Push(void* list, const char* name) { return KLIBSzListPush(static_cast<PSZLIST*>(list), name) == 0; }

}  // namespace

bool IsSource(AUTH_TYPE type) {
  return type == AUTH_TYPE_LOCAL || type == AUTH_TYPE_DOMAIN || type == AUTH_TYPE_DIRECTORY;
}

int AppendNames(PSZLIST* list, AUTH_TYPE type, const char* prefix, int (*names)(const char*, NameSink, void*)) {
  if (list == nullptr || *list == nullptr || prefix == nullptr || !IsSource(type)) return FailWith(kErrorBadParameter);
  if (type != AUTH_TYPE_LOCAL) return 0;
  const size_t before = TextCount(*list);
  const int count = names(prefix, Push, list);
  if (count < 0) CutList(*list, before);
  return AnswerOf(count);
}

}  // namespace kest
