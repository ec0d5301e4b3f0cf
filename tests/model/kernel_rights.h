#ifndef TESTS_MODEL_KERNEL_RIGHTS_H
#define TESTS_MODEL_KERNEL_RIGHTS_H

#include <set>
#include <string>

namespace model {

/// What the kernel lets somebody do in a folder: 0 nothing, 1 read, 2 read and write. Judged by the folder's access
/// list as acl(5) has it: an account's own entry, else those of its groups, else that of all others.
int KernelRight(const std::string& folder, unsigned uid, const std::set<unsigned>& gids);

}  // namespace model

#endif  // TESTS_MODEL_KERNEL_RIGHTS_H
