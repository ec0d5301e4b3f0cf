#include "support/mock_klib.h"

#include <cstdlib>

#include "support/mocked_call_impl.h"

using tarvel_test::Machine;
using tarvel_test::MockKlib;

namespace {

constexpr char kTexts[] = "list of texts";
constexpr char kMap[] = "map of texts";

}  // namespace

MockKlib::MockKlib() = default;

int MockKlib::Growing(PSZLIST* list, const std::function<int()>& call) {
  const tarvel_test::UncountedNew memory;
  const PSZLIST before = *list;
  const int result = call();
  if (*list == before) return result;
  Machine::Current()->ledger().Give(kTexts, before);
  Machine::Current()->ledger().Take(kTexts, *list);
  std::free(before);
  return result;
}

int KLIBErrGet(void) { return MockKlib::Uncounted("KLIBErrGet")->KLIBErrGet(); }

void KLIBErrSet(int code) { MockKlib::Uncounted("KLIBErrSet")->KLIBErrSet(code); }

int BlKLIBIsIpMask(const char* text) { return MockKlib::Uncounted("BlKLIBIsIpMask")->BlKLIBIsIpMask(text); }

int BlKLIBIsShareName(const char* name) { return MockKlib::Uncounted("BlKLIBIsShareName")->BlKLIBIsShareName(name); }

PSZLIST PslKLIBSzListAlloc(int bytes) {
  const tarvel_test::UncountedNew memory;
  PSZLIST list = MockKlib::Uncounted("PslKLIBSzListAlloc")->PslKLIBSzListAlloc(bytes);
  if (list != nullptr) Machine::Current()->ledger().Take(kTexts, list);
  return list;
}

void KLIBSzListFree(PSZLIST list) {
  const tarvel_test::UncountedNew memory;
  MockKlib::Called("KLIBSzListFree");
  Machine::Current()->ledger().Give(kTexts, list);
  std::free(list);
}

int KLIBSzListPush(PSZLIST* list, const char* text) {
  return MockKlib::Growing(list, [&] { return MockKlib::Uncounted("KLIBSzListPush")->KLIBSzListPush(list, text); });
}

int KLIBSzListSortItems(PSZLIST list, int flags) {
  return MockKlib::Uncounted("KLIBSzListSortItems")->KLIBSzListSortItems(list, flags);
}

// Not noted: sets compare as often as they like.
int KLIBUnicodeUTF8StrCaseCmp(const char* a, const char* b) {
  const tarvel_test::UncountedNew memory;
  return MockKlib::Silently().KLIBUnicodeUTF8StrCaseCmp(a, b);
}

int KLIBUnicodeUTF8StrCountChar(const char* text) {
  return MockKlib::Uncounted("KLIBUnicodeUTF8StrCountChar")->KLIBUnicodeUTF8StrCountChar(text);
}

int KLIBStrTok(const char* text, const char* delims, PSZLIST* list) {
  return MockKlib::Growing(list, [&] { return MockKlib::Uncounted("KLIBStrTok")->KLIBStrTok(text, delims, list); });
}

char* SzKLIBSzListGet(PSZLIST list, int index) {
  return MockKlib::Uncounted("SzKLIBSzListGet")->SzKLIBSzListGet(list, index);
}

int KLIBStrTrimSpace(char* in, char* out) { return MockKlib::Uncounted("KLIBStrTrimSpace")->KLIBStrTrimSpace(in, out); }

char* SzKLIBStrCaseLower(char* text) { return MockKlib::Uncounted("SzKLIBStrCaseLower")->SzKLIBStrCaseLower(text); }

int KLIBFileGetKeyValue(const char* file, const char* key, char* buf, int size, int zero) {
  return MockKlib::Uncounted("KLIBFileGetKeyValue")->KLIBFileGetKeyValue(file, key, buf, size, zero);
}

int KLIBFileSetKeyValue(const char* file, const char* key, const char* value, const char* format) {
  return MockKlib::Uncounted("KLIBFileSetKeyValue")->KLIBFileSetKeyValue(file, key, value, format);
}

int BlKLIBProcAlive(unsigned pid) { return MockKlib::Uncounted("BlKLIBProcAlive")->BlKLIBProcAlive(pid); }

PSZHASH PshKLIBSzHashAlloc(int size) {
  PSZHASH hash = MockKlib::Uncounted("PshKLIBSzHashAlloc")->PshKLIBSzHashAlloc(size);
  if (hash != nullptr) Machine::Current()->ledger().Take(kMap, hash);
  return hash;
}

int KLIBSzHashSetValue(PSZHASH hash, const char* key, const char* value) {
  return MockKlib::Uncounted("KLIBSzHashSetValue")->KLIBSzHashSetValue(hash, key, value);
}

void KLIBSzHashFree(PSZHASH hash) {
  MockKlib::Called("KLIBSzHashFree");
  Machine::Current()->ledger().Give(kMap, hash);
}

int KLIBSmbMd4Hash(const char* text, unsigned char* digest, int size) {
  return MockKlib::Uncounted("KLIBSmbMd4Hash")->KLIBSmbMd4Hash(text, digest, size);
}
