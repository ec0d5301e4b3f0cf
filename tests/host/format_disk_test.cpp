// Formatting with the machine's own programs, on image files.
#include "host/storage/format_disk.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "folder.h"
#include "host/klib/error_code.h"
#include "host/klib/run_program.h"
#include "platform/klib.h"

namespace kest {
namespace {

constexpr int kFat = 1, kExt3 = 2, kExt4 = 3;

// What a file system's first bytes say: "fat", "ext3", "ext4", or "none".
std::string FileSystemOf(const std::string& path) {
  const std::string bytes = Content(path).substr(0, 4096);
  if (bytes.size() < 4096) return "none";
  if (bytes.substr(0x1FE, 2) == "\x55\xAA" && (bytes.substr(0x36, 3) == "FAT" || bytes.substr(0x52, 3) == "FAT"))
    return "fat";
  if (bytes.substr(0x438, 2) != "\x53\xEF") return "none";
  const bool has_journal = (bytes[0x45C] & 0x04) != 0, has_extents = (bytes[0x460] & 0x40) != 0;
  return !has_journal ? "ext2" : has_extents ? "ext4" : "ext3";
}

class FormatDiskTest : public testing::Test {
 protected:
  FormatDiskTest() {
    mkdir(folder_.File("class").c_str(), 0755);
    folder_.Put("mounts", "");
    Name("usb1=\"" + Image("usb.img") + "\"\nsata=\"" + Image("sata.img") + "\"\n");
  }

  std::string Image(const std::string& name, off_t size = 16 * 1024 * 1024) {
    const std::string path = folder_.Put(name, "");
    EXPECT_EQ(0, truncate(path.c_str(), size));
    return path;
  }

  void Name(const std::string& lines) { folder_.Put("named", lines); }

  ExternalDiskFiles Files() {
    named_ = folder_.File("named"), class_ = folder_.File("class"), mounts_ = folder_.File("mounts");
    return {named_.c_str(), class_.c_str(), mounts_.c_str()};
  }

  int Format(const std::string& device, int fs, _tag_vol_location_ location = KEST_VOL_USB) {
    KLIBErrSet(0);
    return FormatExternalDisk(Files(), device.c_str(), location, fs);
  }

  // A device of the kernel's, as far as /sys tells.
  void AddDevice(const std::string& name, const std::string& number) {
    mkdir(folder_.File("class/" + name).c_str(), 0755);
    folder_.Put("class/" + name + "/dev", number + "\n");
  }

  const Folder folder_;
  std::string named_, class_, mounts_;
};

TEST_F(FormatDiskTest, EachFileSystemIsMade) {
  const std::string image = folder_.File("usb.img");
  ASSERT_EQ(0, Format(image, kFat)) << KLIBErrGet();
  EXPECT_EQ("fat", FileSystemOf(image));
  ASSERT_EQ(0, Format(image, kExt3)) << KLIBErrGet();
  EXPECT_EQ("ext3", FileSystemOf(image));
  ASSERT_EQ(0, Format(image, kExt4)) << KLIBErrGet();
  EXPECT_EQ("ext4", FileSystemOf(image));
  const char* const check[] = {"/usr/sbin/e2fsck", "-fn", image.c_str(), nullptr};
  EXPECT_EQ(0, RunProgram(check, 60));
  ASSERT_EQ(0, Format(image, kFat)) << KLIBErrGet();
  EXPECT_EQ("fat", FileSystemOf(image));
}

TEST_F(FormatDiskTest, TheSataDiskIsFormattedUnderItsOwnName) {
  const std::string image = folder_.File("sata.img");
  ASSERT_EQ(0, Format(image, kExt4, KEST_VOL_SATA));
  EXPECT_EQ("ext4", FileSystemOf(image));
}

TEST_F(FormatDiskTest, ADiskOfAnotherPortIsRefused) {
  EXPECT_GT(0, Format(folder_.File("sata.img"), kFat, KEST_VOL_USB));
  EXPECT_GT(0, Format(folder_.File("usb.img"), kFat, KEST_VOL_SATA));
  EXPECT_EQ("none", FileSystemOf(folder_.File("sata.img")));
  EXPECT_EQ("none", FileSystemOf(folder_.File("usb.img")));
}

TEST_F(FormatDiskTest, AFileThatNobodyNamedIsRefused) {
  const std::string other = Image("other.img");
  EXPECT_GT(0, Format(other, kFat));
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
  EXPECT_EQ("none", FileSystemOf(other));
  EXPECT_GT(0, Format(folder_.File("../") + other.substr(1), kFat));
}

TEST_F(FormatDiskTest, AnUnknownFileSystemIsRefused) {
  for (const int fs : {0, -1, 4, 1000}) {
    EXPECT_GT(0, Format(folder_.File("usb.img"), fs)) << fs;
    EXPECT_EQ(kErrorBadParameter, KLIBErrGet());
  }
  EXPECT_EQ("none", FileSystemOf(folder_.File("usb.img")));
  EXPECT_GT(0, FormatExternalDisk(Files(), nullptr, KEST_VOL_USB, kFat));
  EXPECT_GT(0, Format("", kFat));
}

TEST_F(FormatDiskTest, AMissingDeviceOrAFolderIsAFailure) {
  Name("usb1=\"" + folder_.File("missing") + "\"\nusb2=\"" + folder_.File("class") + "\"\n");
  EXPECT_GT(0, Format(folder_.File("missing"), kFat));
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
  EXPECT_GT(0, Format(folder_.File("class"), kFat));
  EXPECT_NE(0, KLIBErrGet());
}

TEST_F(FormatDiskTest, ADeviceThatIsNoDiskIsRefused) {
  Name("usb1=\"/dev/null\"\n");
  EXPECT_GT(0, Format("/dev/null", kFat));
  EXPECT_EQ(kErrorBadParameter, KLIBErrGet());
}

TEST_F(FormatDiskTest, ADiskTooSmallForAFileSystemIsAFailure) {
  Name("usb1=\"" + Image("tiny.img", 512) + "\"\n");
  for (const int fs : {kFat, kExt3, kExt4}) {
    EXPECT_GT(0, Format(folder_.File("tiny.img"), fs)) << fs;
    EXPECT_EQ(kErrorSystem, KLIBErrGet()) << fs;
  }
}

TEST_F(FormatDiskTest, ADiskMountedElsewhereIsRefusedBeforeItIsOpened) {
  AddDevice("sdnone", "8:240");
  Name("usb1=\"/dev/sdnone\"\n");
  for (const char* place : {"/", "/mnt", "/volume1", "/volumeSATA"}) {
    folder_.Put("mounts", std::string("36 25 8:240 / ") + place + " rw - ext4 /dev/sdnone rw\n");
    EXPECT_GT(0, Format("/dev/sdnone", kFat)) << place;
    EXPECT_EQ(kErrorDenied, KLIBErrGet()) << place;
  }
  folder_.Put("mounts", "");
  EXPECT_GT(0, Format("/dev/sdnone", kFat));
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
}

TEST_F(FormatDiskTest, ADiskInsideTheMachineIsRefused) {
  AddDevice("sdnone", "8:240");
  EXPECT_GT(0, Format("/dev/sdnone", kFat));
  EXPECT_EQ(kErrorDenied, KLIBErrGet());
  EXPECT_GT(0, Format("sdnone", kExt4, KEST_VOL_SATA));
  EXPECT_EQ(kErrorDenied, KLIBErrGet());
}

TEST_F(FormatDiskTest, ADiskThatIsBeingFormattedIsRefused) {
  const std::string image = folder_.File("usb.img");
  const int other = open(image.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(0, flock(other, LOCK_EX));
  EXPECT_GT(0, Format(image, kFat));
  EXPECT_EQ("none", FileSystemOf(image));
  close(other);
  EXPECT_EQ(0, Format(image, kFat));
}

TEST_F(FormatDiskTest, ANameIsNeverPartOfACommand) {
  const std::string odd = "a; touch pwned $(touch pwned) `touch pwned` 'x' | -n";
  Name("usb1=\"" + Image(odd) + "\"\n");
  const auto before = folder_.Names();
  ASSERT_EQ(0, Format(folder_.File(odd), kExt4));
  EXPECT_EQ("ext4", FileSystemOf(folder_.File(odd)));
  EXPECT_EQ(before, folder_.Names());
}

TEST_F(FormatDiskTest, NamedDisksThatCannotBeReadAreAFailure) {
  unlink(folder_.File("named").c_str());
  mkdir(folder_.File("named").c_str(), 0755);
  EXPECT_GT(0, Format(folder_.File("usb.img"), kFat));
  EXPECT_EQ(kErrorSystem, KLIBErrGet());
  EXPECT_EQ("none", FileSystemOf(folder_.File("usb.img")));
}

TEST_F(FormatDiskTest, LinesThatNameNoDiskArePassedOver) {
  const std::string image = folder_.File("usb.img");
  for (const char* key : {"usb", "usb0", "usb01", "usbX", "USB1", "sata1", "volume1", "usb1x", "sd"}) {
    Name(std::string(key) + "=\"" + image + "\"\n");
    EXPECT_GT(0, Format(image, kFat)) << key;
  }
  EXPECT_EQ("none", FileSystemOf(image));
}

// "SHARE PATH NAME".
std::string InfoOf(const ExternalDiskFiles& files, const std::string& device, _tag_vol_location_ location) {
  ExternalDisk disk;
  if (FindExternalDisk(files, device.c_str(), location, &disk) != 0) return "failed";
  const EXTVOLINFO info = DescribeVolume(disk, location);
  return std::string(info.shareName) + "|" + info.sharePath + "|" + info.volumeName;
}

TEST_F(FormatDiskTest, AVolumeIsDescribedByItsPlaceAndMount) {
  const std::string usb = folder_.File("usb.img"), sata = folder_.File("sata.img");
  EXPECT_EQ("||USB Disk 1", InfoOf(Files(), usb, KEST_VOL_USB));
  EXPECT_EQ("||SATA Disk", InfoOf(Files(), sata, KEST_VOL_SATA));
  folder_.Put("mounts",
              "1 1 0:44 / /volumeUSB1/usbshare rw - tmpfs x rw\n2 1 0:45 / /volumeUSB2 rw - tmpfs x rw\n"
              "3 1 0:46 / /volumeSATA rw - tmpfs x rw\n");
  EXPECT_EQ("usbshare1|/volumeUSB1/usbshare|USB Disk 1", InfoOf(Files(), usb, KEST_VOL_USB));
  EXPECT_EQ("satashare|/volumeSATA|SATA Disk", InfoOf(Files(), sata, KEST_VOL_SATA));
  EXPECT_EQ("failed", InfoOf(Files(), sata, KEST_VOL_USB));
}

TEST_F(FormatDiskTest, AUsbDiskNeedsNoNameWhereTheKernelKnowsItsPort) {
  mkdir(folder_.File("usb3").c_str(), 0755);
  mkdir(folder_.File("usb3/sdu").c_str(), 0755);
  mkdir(folder_.File("usb3/sdu/sdu1").c_str(), 0755);
  folder_.Put("usb3/sdu/dev", "8:192\n");
  folder_.Put("usb3/sdu/sdu1/dev", "8:193\n");
  folder_.Put("usb3/sdu/sdu1/partition", "1\n");
  ASSERT_EQ(0, symlink(folder_.File("usb3/sdu").c_str(), folder_.File("class/sdu").c_str()));
  ASSERT_EQ(0, symlink(folder_.File("usb3/sdu/sdu1").c_str(), folder_.File("class/sdu1").c_str()));
  EXPECT_EQ("||USB Disk", InfoOf(Files(), "/dev/sdu", KEST_VOL_USB));
  folder_.Put("mounts", "1 1 8:193 / /volumeUSB4/usbshare rw - vfat /dev/sdu1 rw\n");
  EXPECT_EQ("usbshare4|/volumeUSB4/usbshare|USB Disk 4", InfoOf(Files(), "/dev/sdu", KEST_VOL_USB));
  EXPECT_EQ("usbshare4|/volumeUSB4/usbshare|USB Disk 4", InfoOf(Files(), "sdu1", KEST_VOL_USB));
  EXPECT_EQ("failed", InfoOf(Files(), "/dev/sdu", KEST_VOL_SATA));
}

}  // namespace
}  // namespace kest
