// A list is one malloc block: this header, the texts from the front, and from the back one offset per text.
//
//   | size used count | text0 NUL text1 NUL ... >      room      < offset1 offset0 |
//
// Sorting moves offsets only; growing moves the offsets to the new end.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "host/klib/string_list.h"

#include "host/klib/error_code.h"
#include "platform/klib.h"

struct KLIBSZLIST {
  size_t size;   // bytes of the block, a multiple of the offsets' alignment
  size_t used;   // bytes from the block's beginning up to the end of the texts
  size_t count;  // texts
};

namespace {

using Offset = uint32_t;

constexpr size_t kBlockMax = UINT32_MAX;

char* Bytes(PSZLIST list) { return reinterpret_cast<char*>(list); }

// The offset of text i is at OffsetsEnd()[-1 - i].
Offset* OffsetsEnd(PSZLIST list) { return reinterpret_cast<Offset*>(Bytes(list) + list->size); }

char* Text(PSZLIST list, size_t index) { return Bytes(list) + OffsetsEnd(list)[-1 - static_cast<ptrdiff_t>(index)]; }

size_t RoundUp(size_t bytes) { return (bytes + alignof(KLIBSZLIST) - 1) / alignof(KLIBSZLIST) * alignof(KLIBSZLIST); }

size_t Room(PSZLIST list) { return list->size - list->used - list->count * sizeof(Offset); }

// Room for one more text of so many bytes; the block may move.
bool Grow(PSZLIST* list, size_t text_bytes) {
  const size_t needed = text_bytes + sizeof(Offset);
  const size_t old_size = (*list)->size;
  if (Room(*list) >= needed) return true;
  if (old_size > kBlockMax / 4 || needed > kBlockMax / 4) return false;
  const size_t new_size = RoundUp(2 * old_size + needed);
  auto* const moved = static_cast<PSZLIST>(realloc(*list, new_size));
  if (moved == nullptr) return false;
  *list = moved;
  const size_t offsets = moved->count * sizeof(Offset);
  memmove(Bytes(moved) + new_size - offsets, Bytes(moved) + old_size - offsets, offsets);
  moved->size = new_size;
  return true;
}

// Where in the block a text of the list itself begins; it moves along with the block. -1 for any other text.
ptrdiff_t OwnOffset(PSZLIST list, const char* text) {
  const uintptr_t begin = reinterpret_cast<uintptr_t>(list);
  const uintptr_t at = reinterpret_cast<uintptr_t>(text);
  return at >= begin && at < begin + list->used ? static_cast<ptrdiff_t>(at - begin) : -1;
}

const char* Current(PSZLIST list, ptrdiff_t own, const char* text) { return own < 0 ? text : Bytes(list) + own; }

bool Append(PSZLIST* list, const char* text, size_t length) {
  const ptrdiff_t own = OwnOffset(*list, text);
  if (!Grow(list, length + 1)) return false;
  PSZLIST grown = *list;
  memcpy(Bytes(grown) + grown->used, Current(grown, own, text), length);
  Bytes(grown)[grown->used + length] = '\0';
  OffsetsEnd(grown)[-1 - static_cast<ptrdiff_t>(grown->count)] = static_cast<Offset>(grown->used);
  grown->used += length + 1;
  ++grown->count;
  return true;
}

}  // namespace

namespace kest {

size_t TextCount(PSZLIST list) { return list->count; }

void CutList(PSZLIST list, size_t count) {
  if (count >= list->count) return;
  list->used = static_cast<size_t>(Text(list, count) - Bytes(list));
  list->count = count;
}

}  // namespace kest

PSZLIST PslKLIBSzListAlloc(int bytes) {
  const size_t size = RoundUp(sizeof(KLIBSZLIST) + static_cast<size_t>(std::max(bytes, 1)));
  auto* const list = static_cast<PSZLIST>(malloc(size));
  if (list == nullptr) {
    kest::FailWith(kest::kErrorNoMemory);
    return nullptr;
  }
  *list = {size, sizeof(KLIBSZLIST), 0};
  return list;
}

void KLIBSzListFree(PSZLIST list) { free(list); }

char* SzKLIBSzListGet(PSZLIST list, int index) {
  if (list == nullptr || index < 0 || static_cast<size_t>(index) >= list->count) return nullptr;
  return Text(list, static_cast<size_t>(index));
}

int KLIBSzListPush(PSZLIST* list, const char* text) {
  if (list == nullptr || *list == nullptr || text == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return Append(list, text, strlen(text)) ? 0 : kest::FailWith(kest::kErrorNoMemory);
}

int KLIBSzListSortItems(PSZLIST list, int flags) {
  if (list == nullptr || flags != KLIB_SZLIST_SORT_NO_CASE) return kest::FailWith(kest::kErrorBadParameter);
  Offset* const last = OffsetsEnd(list) - list->count;
  // The offsets lie in falling order of the index: sorted from the far end they come out ascending.
  const auto before = [list](Offset a, Offset b) {
    return KLIBUnicodeUTF8StrCaseCmp(Bytes(list) + a, Bytes(list) + b) < 0;
  };
  std::stable_sort(std::reverse_iterator<Offset*>(OffsetsEnd(list)), std::reverse_iterator<Offset*>(last), before);
  return 0;
}

int KLIBStrTok(const char* text, const char* delims, PSZLIST* list) {
  if (text == nullptr || delims == nullptr || list == nullptr || *list == nullptr) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  const ptrdiff_t own = OwnOffset(*list, text);
  int count = 0;
  size_t at = 0;
  for (;;) {
    const char* const from = Current(*list, own, text);
    at += strspn(from + at, delims);
    const size_t length = strcspn(from + at, delims);
    if (length == 0) return count;
    if (!Append(list, from + at, length)) return kest::FailWith(kest::kErrorNoMemory);
    at += length;
    ++count;
  }
}
