#include "record_layout.h"

#include "all_headers.h"

#define PLACE_IN_C(record, field) {#record "." #field, offsetof(record, field), sizeof(record)},

static const FieldPlace kPlaces[] = {FOR_EACH_LAST_FIELD(PLACE_IN_C)};

const FieldPlace* RecordLayoutInC(size_t* count) {
  *count = sizeof(kPlaces) / sizeof(kPlaces[0]);
  return kPlaces;
}
