#include "support/mock_klib.h"

int BlKLIBIsIpMask(const char* text) { return tarvel_test::MockKlib::Called("BlKLIBIsIpMask").BlKLIBIsIpMask(text); }

char* SzKLIBStrCaseLower(char* text) {
  return tarvel_test::MockKlib::Called("SzKLIBStrCaseLower").SzKLIBStrCaseLower(text);
}
