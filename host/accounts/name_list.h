#ifndef KEST_HOST_ACCOUNTS_NAME_LIST_H_
#define KEST_HOST_ACCOUNTS_NAME_LIST_H_

#include <string>

#include "host/database/database.h"

namespace kest {

// Takes one name; false ends the enumeration for lack of memory.
using NameSink = bool (*)(void* context, const char* name);

// Hands the names that begin with the prefix, without regard to case, to the sink in the order of their folded forms:
// that of the code points, so "Z" stands before a letter with an accent. `sql` selects names and has two parameters,
// the least folded name and one behind the greatest. A prefix that is not UTF-8 begins no name.
// Gives their number, or the negative of an ErrorCode.
int NamesByPrefix(Database& database, const char* sql, const std::string& prefix, NameSink sink, void* context);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_NAME_LIST_H_
