// Volumes of mount tables that this machine does not have.
#include <string>

#include "folder.h"
#include "host/storage/mounted_volumes.h"
#include "platform/klib.h"

namespace kest {
namespace {

std::string Line(const std::string& path, const std::string& options = "rw", const std::string& super_options = "rw") {
  return "36 25 8:3 / " + path + " " + options + ",relatime shared:1 - ext4 /dev/sda3 " + super_options + "\n";
}

// "PATH " for each volume, "PATH(ro) " for one that cannot be written; "failed" when the table cannot be read.
std::string VolumesOf(const std::string& table) {
  const Folder folder;
  Volumes volumes;
  if (!ListVolumes(folder.Put("mountinfo", table).c_str(), kEveryLocation, &volumes)) return "failed";
  std::string text;
  for (const KESTMOUNTVOL* volume = volumes.get(); volume != nullptr; volume = volume->next) {
    text += std::string(volume->path) + (volume->writable != 0 ? " " : "(ro) ");
  }
  return text;
}

TEST(MountTableTest, VolumesComeByLocationAndNumber) {
  EXPECT_EQ("/volume1 /volume10 /volumeX2 /volumeUSB1/usbshare /volumeSATA ",
            VolumesOf(Line("/volumeSATA") + Line("/volume10") + Line("/") + Line("/volumeUSB1/usbshare") +
                      Line("/volumeX2") + Line("/volume1") + Line("/mnt")));
}

TEST(MountTableTest, TheFolderThatStandsForAnExternalDiskIsAMountPathToo) {
  EXPECT_EQ("/volumeUSB3/usbshare /volumeSATA/satashare ",
            VolumesOf(Line("/volumeSATA/satashare") + Line("/volumeUSB3/usbshare")));
  EXPECT_EQ("", VolumesOf(Line("/volumeUSB3/satashare") + Line("/volumeSATA/usbshare") + Line("/volume1/usbshare") +
                          Line("/volumeX1/usbshare") + Line("/volumeUSB3/usbshare/deep") + Line("/volumeUSB3/")));
}

TEST(MountTableTest, OfTwoAtOnePlaceTheLaterCoversTheEarlier) {
  EXPECT_EQ("/volume1(ro) ", VolumesOf(Line("/volume1") + Line("/volume1", "ro")));
  EXPECT_EQ("/volumeUSB1/usbshare ", VolumesOf(Line("/volumeUSB1", "ro") + Line("/volumeUSB1/usbshare")));
}

TEST(MountTableTest, ReadOnlyIsTheMountOrTheFileSystem) {
  EXPECT_EQ("/volume1(ro) ", VolumesOf(Line("/volume1", "ro", "rw")));
  EXPECT_EQ("/volume1(ro) ", VolumesOf(Line("/volume1", "rw", "ro")));
  EXPECT_EQ("/volume1 ", VolumesOf(Line("/volume1", "rw", "rw,errors=remount-ro")));
}

TEST(MountTableTest, LinesThatAreNoneArePassedOver) {
  for (const char* broken :
       {"\n", "garbage\n", "36 25 8:3 / \n", "36 25 8:3 / /volume2 rw - \n", "36 25 x:y / /volume2\n", "# comment\n"}) {
    EXPECT_EQ("/volume1 /volume3 ", VolumesOf(Line("/volume3") + broken + Line("/volume1"))) << broken;
  }
  EXPECT_EQ("/volume1 ", VolumesOf(Line("/volume1") + "36 25 8:3 / /vol"));
  EXPECT_EQ("", VolumesOf(""));
}

TEST(MountTableTest, ATableThatCannotBeReadIsAFailure) {
  Volumes volumes;
  KLIBErrSet(0);
  EXPECT_FALSE(ListVolumes("/nonexistent/mountinfo", kEveryLocation, &volumes));
  EXPECT_NE(0, KLIBErrGet());
}

TEST(MountTableTest, APathIsHeldByItsVolumesMount) {
  const Folder folder;
  const std::string table =
      folder.Put("mountinfo", Line("/volumeUSB1/usbshare") + Line("/volume1") + Line("/volume12"));
  KESTMOUNTVOL info;
  ASSERT_EQ(0, FindVolume(table.c_str(), "/volumeUSB1/usbshare/a", &info));
  EXPECT_STREQ("/volumeUSB1/usbshare", info.path);
  ASSERT_EQ(0, FindVolume(table.c_str(), "/volume12/a", &info));
  EXPECT_STREQ("/volume12", info.path);
  for (const char* path :
       {"/volumeUSB1", "/volumeUSB1/usbshare2", "/volumeUSB1/other", "/volume2", "/volume1/a/../../etc"}) {
    EXPECT_GT(0, FindVolume(table.c_str(), path, &info)) << path;
  }
}

TEST(MountTableTest, AThousandVolumesAreAThousand) {
  std::string table;
  for (int i = 1024; i > 0; --i) table += Line("/volume" + std::to_string(i));
  const Folder folder;
  Volumes volumes;
  ASSERT_TRUE(ListVolumes(folder.Put("mountinfo", table).c_str(), kEveryLocation, &volumes));
  int number = 0;
  for (const KESTMOUNTVOL* volume = volumes.get(); volume != nullptr; volume = volume->next) {
    EXPECT_EQ(++number, volume->number);
  }
  EXPECT_EQ(1024, number);
}

}  // namespace
}  // namespace kest
