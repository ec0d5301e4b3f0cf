#include "host/shares/key_store.h"

#include <sodium.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "host/klib/error_code.h"
#include "host/klib/file_read.h"
#include "host/klib/file_replace.h"

namespace kest {
namespace {

// What is encrypted. Every passphrase fills the same room, so that a file does not tell its length.
struct Secret {
  Secret() = default;
  ~Secret() { sodium_memzero(this, sizeof(*this)); }
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  int64_t share = 0;
  char passphrase[kPassphraseBytes] = {};
};

struct Sealed {
  unsigned char nonce[crypto_secretbox_NONCEBYTES];
  unsigned char box[crypto_secretbox_MACBYTES + sizeof(Secret)];
};

struct MachineKey {
  MachineKey() = default;
  ~MachineKey() { sodium_memzero(bytes, sizeof(bytes)); }
  MachineKey(const MachineKey&) = delete;
  MachineKey& operator=(const MachineKey&) = delete;

  unsigned char bytes[crypto_secretbox_KEYBYTES] = {};
};

int Failure() { return -ErrorCodeOf(errno); }

std::string PathOf(const KeyFiles& files, int64_t share) {
  return std::string(files.folder) + "/" + std::to_string(share);
}

bool Take(const std::string& text, MachineKey* key) {
  if (text.size() != sizeof(key->bytes)) return false;
  memcpy(key->bytes, text.data(), sizeof(key->bytes));
  return true;
}

int ReadMachineKey(const KeyFiles& files, MachineKey* key) {
  std::string text;
  if (sodium_init() < 0) return -kErrorSystem;
  if (!ReadWholeFile(files.machine_key, kTextFileMax, &text)) return Failure();
  const bool whole = Take(text, key);
  sodium_memzero(text.data(), text.size());
  return whole ? 0 : -kErrorSystem;
}

// Made when first needed. One that is there and damaged is left alone: what was sealed with it may still be wanted.
int MakeMachineKey(const KeyFiles& files, MachineKey* key) {
  FileReplace file;
  std::string text;
  if (sodium_init() < 0) return -kErrorSystem;
  if (!file.Open(files.machine_key, 0600) || !ReadWholeFile(file.Path(), kTextFileMax, &text)) return Failure();
  if (!text.empty()) return Take(text, key) ? 0 : -kErrorSystem;
  randombytes_buf(key->bytes, sizeof(key->bytes));
  return file.Commit({reinterpret_cast<const char*>(key->bytes), sizeof(key->bytes)}) ? 0 : Failure();
}

}  // namespace

int StoreKey(const KeyFiles& files, int64_t share, const char* passphrase) {
  MachineKey key;
  if (int failure = MakeMachineKey(files, &key)) return failure;
  Secret secret;
  secret.share = share;
  if (strlen(passphrase) >= sizeof(secret.passphrase)) return -kErrorBadParameter;
  memcpy(secret.passphrase, passphrase, strlen(passphrase));
  Sealed sealed;
  randombytes_buf(sealed.nonce, sizeof(sealed.nonce));
  crypto_secretbox_easy(sealed.box, reinterpret_cast<const unsigned char*>(&secret), sizeof(secret), sealed.nonce,
                        key.bytes);
  mkdir(files.folder, 0700);
  FileReplace file;
  if (!file.Open(PathOf(files, share).c_str(), 0600)) return Failure();
  return file.Commit({reinterpret_cast<const char*>(&sealed), sizeof(sealed)}) ? 0 : Failure();
}

int LoadKey(const KeyFiles& files, int64_t share, char (&passphrase)[kPassphraseBytes]) {
  std::string text;
  if (!ReadWholeFile(PathOf(files, share).c_str(), kTextFileMax, &text)) return Failure();
  MachineKey key;
  if (int failure = ReadMachineKey(files, &key)) return failure;
  Sealed sealed;
  Secret secret;
  if (text.size() != sizeof(sealed)) return -kErrorWrongKey;
  memcpy(&sealed, text.data(), sizeof(sealed));
  const bool opened = crypto_secretbox_open_easy(reinterpret_cast<unsigned char*>(&secret), sealed.box,
                                                 sizeof(sealed.box), sealed.nonce, key.bytes) == 0;
  if (!opened || secret.share != share) return -kErrorWrongKey;
  memcpy(passphrase, secret.passphrase, sizeof(passphrase));
  return 0;
}

int RemoveKey(const KeyFiles& files, int64_t share) {
  return unlink(PathOf(files, share).c_str()) == 0 || errno == ENOENT ? 0 : Failure();
}

}  // namespace kest
