#include "disk.h"

#include <climits>
#include <string>

#include "support/platform_test.h"

namespace tarvel_test {
namespace {

class DiskIdTest : public PlatformTest {
 protected:
  std::string IdOf(int number, int container) {
    std::string id = "as before";
    EXPECT_TRUE(SDK::Disk::ToUIDiskID({number, container}, id));
    return id;
  }
};

TEST_F(DiskIdTest, AnInternalDiskIsItsNumber) {
  EXPECT_EQ("3", IdOf(3, 1));
  EXPECT_EQ("0", IdOf(0, 1));
  EXPECT_EQ("-1", IdOf(-1, 1));
}

TEST_F(DiskIdTest, ADiskOfAnExpansionUnitHasALetter) {
  EXPECT_EQ("X3", IdOf(3, 2));
  EXPECT_EQ("X-12", IdOf(-12, 2));
}

TEST_F(DiskIdTest, AnIdentifierHasSevenBytesAtMost) {
  EXPECT_EQ("1234567", IdOf(1234567, 1));
  EXPECT_EQ("1234567", IdOf(12345678, 1));
  EXPECT_EQ("-214748", IdOf(INT_MIN, 1));
  EXPECT_EQ("X123456", IdOf(123456, 2));
  EXPECT_EQ("X123456", IdOf(1234567, 2));
}

TEST_F(DiskIdTest, ADiskElsewhereIsRefused) {
  for (const int container : {0, 3, 4, -1, INT_MAX}) {
    std::string id = "as before";
    EXPECT_FALSE(SDK::Disk::ToUIDiskID({3, container}, id));
    ExpectLogged("disk:# unsupported disk container: " + std::to_string(container));
    EXPECT_EQ("as before", id);
  }
}

}  // namespace
}  // namespace tarvel_test
