#include "support/mock_klib.h"

int BlKLIBIsIpMask(const char* text) { return tarvel_test::MockKlib::Called("BlKLIBIsIpMask").BlKLIBIsIpMask(text); }
