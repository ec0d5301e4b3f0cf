#include "host/network/time_zones.h"

#include <sys/stat.h>

#include "folder.h"

namespace kest {
namespace {

class TimeZonesTest : public testing::Test {
 protected:
  TimeZonesTest() {
    for (const char* folder : {"Europe", "America", "America/Argentina", "Etc"})
      mkdir(folder_.File(folder).c_str(), 0755);
    for (const char* name : {"UTC", "EST", "Etc/GMT+1", "Europe/Berlin", "Europe/Oslo", "America/Argentina/Salta"}) {
      folder_.Put(name, "TZif2");
    }
  }
  std::string Names(const std::string& index) {
    folder_.Put("tzdata.zi", index);
    std::vector<std::string> names;
    if (!ReadTimeZones(folder_.File("").c_str(), &names)) return "failed";
    std::string all;
    for (const std::string& name : names) all += name + " ";
    return all;
  }
  const Folder folder_;
};

TEST_F(TimeZonesTest, PlacesAndUtcAreListedByName) {
  EXPECT_EQ(
      "UTC America/Argentina/Salta Europe/Berlin Europe/Oslo ",
      Names("# version 2025b\nR d 1916 o - Jun 14 23s 1 S\nZ Europe/Berlin 0:53:28 - LMT 1893 Apr\n1 c CE%sT 1945\n"
            "Z EST -5 - EST\nZ Etc/GMT+1 -1 - -01\nZ America/Argentina/Salta -4:21 - LMT\n"
            "L Europe/Berlin Europe/Oslo\n"));
}

TEST_F(TimeZonesTest, ANameIsListedOnceAndOnlyWhenItsFileIsThere) {
  EXPECT_EQ("UTC Europe/Berlin ", Names("Z Europe/Berlin x\nL Europe/Berlin Europe/Berlin\nZ Europe/Atlantis x\n"));
}

TEST_F(TimeZonesTest, HalfLinesSayNothing) {
  EXPECT_EQ("UTC ", Names("Z\nL\nL Europe/Berlin\nZ \n\nEurope/Berlin\nZEurope/Berlin"));
  EXPECT_EQ("UTC Europe/Berlin ", Names("Z Europe/Berlin")) << "without its line end";
}

TEST_F(TimeZonesTest, WithoutADatabaseItIsAFailure) {
  std::vector<std::string> names = {"as before"};
  EXPECT_FALSE(ReadTimeZones("/nonexistent", &names));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ("failed", Names(std::string(1024 * 1024 + 1, '#')));
  EXPECT_EQ(std::vector<std::string>{"as before"}, names);
}

}  // namespace
}  // namespace kest
