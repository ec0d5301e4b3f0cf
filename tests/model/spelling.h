#ifndef TESTS_MODEL_SPELLING_H
#define TESTS_MODEL_SPELLING_H

#include <string>
#include <vector>

/// Texts that steps choose from. How names compare is laid down here by hand, so that nothing of the platform's own
/// comparison is asked.
namespace model {

using Texts = std::vector<std::string>;

/// The form in which names that differ in case only are equal, and in whose bytes they are ordered.
std::string Folded(const std::string& name);

bool IsSame(const std::string& a, const std::string& b);

/// Whether a name begins with a prefix, without regard to case.
bool BeginsWith(const std::string& name, const std::string& prefix);

/// Names of accounts and groups; some that no account or group may have; prefixes.
const Texts& People();
const Texts& Teams();
const Texts& NoNames();
const Texts& Prefixes();

/// Names of shares; some that no share may have.
const Texts& Folders();
const Texts& NoFolders();
/// Folders that no share may have, at the root of a volume.
const Texts& NoPaths();

/// Descriptions and mail addresses; what cannot be stored as one.
const Texts& Descriptions();
bool IsDescription(const std::string& text);
bool IsMail(const std::string& text);

/// Whether an account or a group may have the name, as far as the text goes; whether a share may.
bool IsName(const std::string& name);
bool IsFolder(const std::string& name);
/// Whether a share may have a folder called so, at the root of a volume.
bool IsPath(const std::string& folder);

}  // namespace model

#endif  // TESTS_MODEL_SPELLING_H
