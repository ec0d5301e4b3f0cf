// What the lists of accounts and those of groups have in common.
#ifndef KEST_HOST_ACCOUNTS_DIRECTORY_LISTS_H_
#define KEST_HOST_ACCOUNTS_DIRECTORY_LISTS_H_

#include "host/accounts/name_list.h"
#include "host/klib/error_code.h"
#include "platform/kestdir.h"

namespace kest {

// Whether the platform knows such a source. All but the local one are empty: no domain is joined.
bool IsSource(AUTH_TYPE type);

// Appends what `names` enumerates. Their number, or -1 with the reason recorded and the list as it was.
int AppendNames(PSZLIST* list, AUTH_TYPE type, const char* prefix,
                int (*names)(const char* prefix, NameSink sink, void* context));

// The next record of a walk in place of what the slot held: 0, 1 at the end, -1 with the reason recorded.
template <typename Walk, typename Record>
int Advance(int (*next)(Walk*, Record**), Walk* walk, Record** slot, AUTH_TYPE type, void (*release)(Record*)) {
  if (walk == nullptr || slot == nullptr || !IsSource(type)) return FailWith(kErrorBadParameter);
  if (type != AUTH_TYPE_LOCAL) return 1;
  Record* record = nullptr;
  const int delivered = next(walk, &record);
  if (delivered < 1) return delivered == 0 ? 1 : AnswerOf(delivered);
  release(*slot);
  *slot = record;
  return 0;
}

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_DIRECTORY_LISTS_H_
