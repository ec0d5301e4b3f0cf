#include "host/accounts/password.h"

#include <crypt.h>
#include <string.h>
#include <syslog.h>

#include <memory>

namespace kest {
namespace {

// Hash of a random text that nobody knows, with the cost of HashPassword(): what an unknown name is measured against.
constexpr char kNobodysHash[] = "$y$j9T$MImg.dRqjRtAvuIkCPLY60$2o2KQT99ebHmdvTw0TgJeEfpI5ubaoYG9Uv5oCqPglC";

std::string Crypt(const char* password, const char* setting) {
  // 32 KB: too large for the stack of a small process.
  auto data = std::make_unique<crypt_data>();
  const char* hash = crypt_r(password, setting, data.get());
  // On failure the text begins with an asterisk, which no hash does.
  std::string result = hash == nullptr || hash[0] == '*' ? "" : hash;
  explicit_bzero(data.get(), sizeof(crypt_data));
  return result;
}

// Takes as long for texts that differ early as for those that differ late.
bool SameText(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  unsigned difference = 0;
  for (size_t i = 0; i < a.size(); ++i) difference |= static_cast<unsigned char>(a[i] ^ b[i]);
  return difference == 0;
}

}  // namespace

const char* NobodysHash() { return kNobodysHash; }

std::string HashPassword(const char* password) {
  char setting[CRYPT_GENSALT_OUTPUT_SIZE];
  if (password[0] == '\0' || strlen(password) > kMaxPasswordBytes) return "";
  if (crypt_gensalt_rn("$y$", 0, nullptr, 0, setting, sizeof(setting)) == nullptr) {
    syslog(LOG_ERR, "no salt for a password: %m");
    return "";
  }
  return Crypt(password, setting);
}

bool PasswordMatches(const char* password, const std::string& hash) {
  const std::string computed = Crypt(password, hash.empty() ? kNobodysHash : hash.c_str());
  return !hash.empty() && !computed.empty() && SameText(computed, hash);
}

}  // namespace kest
