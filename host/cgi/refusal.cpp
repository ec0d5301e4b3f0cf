#include "host/cgi/refusal.h"

#include <cstddef>

namespace kest {
namespace {

// In the order of RefusalReason.
constexpr Refusal kRefusals[] = {
    {400, "Bad Request", "content_length"},
    {411, "Length Required", "length_required"},
    {413, "Content Too Large", "body_too_large"},
    {400, "Bad Request", "body_short"},
    {400, "Bad Request", "nul_byte"},
    {413, "Content Too Large", "too_many_parameters"},
    {413, "Content Too Large", "name_too_long"},
    {400, "Bad Request", "upload_malformed"},
    {413, "Content Too Large", "upload_too_many_parts"},
    {400, "Bad Request", "upload_header"},
    {413, "Content Too Large", "upload_field_too_large"},
    {507, "Insufficient Storage", "upload_storage"},
};
static_assert(sizeof(kRefusals) / sizeof(kRefusals[0]) == static_cast<size_t>(RefusalReason::kUploadStorage) + 1,
              "one row per reason");

const Refusal* g_current = nullptr;

}  // namespace

void Refuse(RefusalReason reason) {
  if (g_current == nullptr) g_current = &kRefusals[static_cast<size_t>(reason)];
}

const Refusal* CurrentRefusal() { return g_current; }

}  // namespace kest
