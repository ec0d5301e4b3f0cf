#include "support/mock_klib.h"

#include <cstdlib>

using tarvel_test::Machine;
using tarvel_test::MockKlib;

namespace {

constexpr char kTexts[] = "list of texts";
constexpr char kMap[] = "map of texts";

}  // namespace

int KLIBErrGet(void) { return MockKlib::Called("KLIBErrGet").KLIBErrGet(); }

int BlKLIBIsIpMask(const char* text) { return MockKlib::Called("BlKLIBIsIpMask").BlKLIBIsIpMask(text); }

PSZLIST PslKLIBSzListAlloc(int bytes) {
  PSZLIST list = MockKlib::Called("PslKLIBSzListAlloc").PslKLIBSzListAlloc(bytes);
  if (list != nullptr) Machine::Current()->ledger().Take(kTexts, list);
  return list;
}

int KLIBStrTok(const char* text, const char* delims, PSZLIST* list) {
  const PSZLIST before = *list;
  const int count = MockKlib::Called("KLIBStrTok").KLIBStrTok(text, delims, list);
  if (*list == before) return count;
  Machine::Current()->ledger().Give(kTexts, before);
  Machine::Current()->ledger().Take(kTexts, *list);
  std::free(before);
  return count;
}

char* SzKLIBSzListGet(PSZLIST list, int index) {
  return MockKlib::Called("SzKLIBSzListGet").SzKLIBSzListGet(list, index);
}

int KLIBStrTrimSpace(char* in, char* out) { return MockKlib::Called("KLIBStrTrimSpace").KLIBStrTrimSpace(in, out); }

char* SzKLIBStrCaseLower(char* text) { return MockKlib::Called("SzKLIBStrCaseLower").SzKLIBStrCaseLower(text); }

int KLIBFileGetKeyValue(const char* file, const char* key, char* buf, int size, int zero) {
  return MockKlib::Called("KLIBFileGetKeyValue").KLIBFileGetKeyValue(file, key, buf, size, zero);
}

int KLIBFileSetKeyValue(const char* file, const char* key, const char* value, const char* format) {
  return MockKlib::Called("KLIBFileSetKeyValue").KLIBFileSetKeyValue(file, key, value, format);
}

int BlKLIBProcAlive(unsigned pid) { return MockKlib::Called("BlKLIBProcAlive").BlKLIBProcAlive(pid); }

PSZHASH PshKLIBSzHashAlloc(int size) {
  PSZHASH hash = MockKlib::Called("PshKLIBSzHashAlloc").PshKLIBSzHashAlloc(size);
  if (hash != nullptr) Machine::Current()->ledger().Take(kMap, hash);
  return hash;
}

int KLIBSzHashSetValue(PSZHASH hash, const char* key, const char* value) {
  return MockKlib::Called("KLIBSzHashSetValue").KLIBSzHashSetValue(hash, key, value);
}

void KLIBSzHashFree(PSZHASH hash) {
  MockKlib::Called("KLIBSzHashFree");
  Machine::Current()->ledger().Give(kMap, hash);
}

int KLIBSmbMd4Hash(const char* text, unsigned char* digest, int size) {
  return MockKlib::Called("KLIBSmbMd4Hash").KLIBSmbMd4Hash(text, digest, size);
}
