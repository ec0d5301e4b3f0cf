// External disks: image files that are named as such. How they are named is this platform's.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "file_system_of.h"
#include "platform/keststorage.h"
#include "platform/klib.h"
#include "scratch_directory.h"
#include "system_file.h"

namespace {

class StorageExternal : public testing::Test {
 protected:
  std::string Image(const std::string& path, off_t size = 16 * 1024 * 1024) {
    std::ofstream(path, std::ios::binary).flush();
    EXPECT_EQ(0, truncate(path.c_str(), size));
    return path;
  }

  // The image becomes the disk of a volume: "usb2", "sata".
  std::string Disk(const std::string& place) {
    const std::string image = Image(scratch_.Path(place + ".img"));
    lines_ += place + "=\"" + image + "\"\n";
    named_.Write(lines_);
    return image;
  }

  static int FormatUsb(std::string device, int fs) {
    KLIBErrSet(0);
    return KESTUSBVolInit(device.data(), fs);
  }
  static int FormatSata(std::string device, int fs) {
    KLIBErrSet(0);
    return KESTSATAVolInit(device.data(), fs, 1);
  }

  const ScratchDirectory scratch_;
  const SystemFile named_{"/usr/kest/etc/external_disks.conf"};
  std::string lines_;
};

TEST_F(StorageExternal, AUsbDiskIsFormattedWithEachFileSystem) {
  const std::string disk = Disk("usb2");
  ASSERT_EQ(0, FormatUsb(disk, 1)) << KLIBErrGet();
  EXPECT_EQ("fat", FileSystemOf(disk));
  ASSERT_EQ(0, FormatUsb(disk, 2)) << KLIBErrGet();
  EXPECT_EQ("ext3", FileSystemOf(disk));
  ASSERT_EQ(0, FormatUsb(disk, 3)) << KLIBErrGet();
  EXPECT_EQ("ext4", FileSystemOf(disk));
}

TEST_F(StorageExternal, TheSataDiskIsFormattedWithEachFileSystem) {
  const std::string disk = Disk("sata");
  ASSERT_EQ(0, FormatSata(disk, 3)) << KLIBErrGet();
  EXPECT_EQ("ext4", FileSystemOf(disk));
  ASSERT_EQ(0, FormatSata(disk, 2)) << KLIBErrGet();
  EXPECT_EQ("ext3", FileSystemOf(disk));
  ASSERT_EQ(0, FormatSata(disk, 1)) << KLIBErrGet();
  EXPECT_EQ("fat", FileSystemOf(disk));
}

TEST_F(StorageExternal, AnUnknownFileSystemTouchesNothing) {
  const std::string usb = Disk("usb2"), sata = Disk("sata");
  for (const int fs : {0, 4, -1, 1 << 30}) {
    EXPECT_NE(0, FormatUsb(usb, fs)) << fs;
    EXPECT_NE(0, KLIBErrGet());
    EXPECT_NE(0, FormatSata(sata, fs)) << fs;
    EXPECT_NE(0, KLIBErrGet());
  }
  EXPECT_EQ("none", FileSystemOf(usb));
  EXPECT_EQ("none", FileSystemOf(sata));
}

TEST_F(StorageExternal, WhatIsNoExternalDiskIsNotFormatted) {
  const std::string sata = Disk("sata"), other = Image(scratch_.Path("other.img"));
  for (const std::string& device :
       {std::string(), std::string("/dev/sdnone"), std::string("sdnone"), std::string("/dev/null"), std::string("."),
        std::string("/usr/kest/etc"), scratch_.Path("missing"), other, sata}) {
    EXPECT_NE(0, FormatUsb(device, 1)) << device;
    EXPECT_NE(0, KLIBErrGet()) << device;
  }
  EXPECT_EQ("none", FileSystemOf(other));
  EXPECT_EQ("none", FileSystemOf(sata));
  EXPECT_NE(0, KESTUSBVolInit(nullptr, 1));
  EXPECT_NE(0, KESTSATAVolInit(nullptr, 1, 1));
}

TEST_F(StorageExternal, ADiskThatForbidsWritingIsAFailure) {
  const std::string disk = Disk("usb2");
  ASSERT_EQ(0, chmod(disk.c_str(), 0444));
  EXPECT_NE(0, FormatUsb(disk, 1));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_EQ("none", FileSystemOf(disk));
}

TEST_F(StorageExternal, ADiskThatRunsFullIsAFailure) {
  named_.Write("usb2=\"" + Image("/full/disk.img") + "\"\n");
  std::ofstream("/full/ballast") << std::string(2 * 1024 * 1024, 'x');
  for (const int fs : {1, 2, 3}) {
    EXPECT_NE(0, FormatUsb("/full/disk.img", fs)) << fs;
    EXPECT_NE(0, KLIBErrGet()) << fs;
  }
  unlink("/full/ballast");
  unlink("/full/disk.img");
}

TEST_F(StorageExternal, AMountedVolumeHasAShare) {
  std::string disk = Disk("usb2");
  EXTVOLINFO info;
  memset(&info, 0x5A, sizeof(info));
  ASSERT_EQ(0, KESTDiskUSBDevGetVolInfo(disk.data(), &info));
  EXPECT_STREQ("usbshare2", info.shareName);
  EXPECT_STREQ("/volumeUSB2", info.sharePath);
  EXPECT_STRNE("", info.volumeName);
}

TEST_F(StorageExternal, AVolumeThatIsNotMountedHasNone) {
  std::string usb = Disk("usb5"), sata = Disk("sata");
  EXTVOLINFO info;
  memset(&info, 0x5A, sizeof(info));
  ASSERT_EQ(0, KESTDiskUSBDevGetVolInfo(usb.data(), &info));
  EXPECT_STREQ("", info.shareName);
  EXPECT_STRNE("", info.volumeName);
  memset(&info, 0x5A, sizeof(info));
  ASSERT_EQ(0, KESTSATAGetVolInfo(sata.data(), &info));
  EXPECT_STREQ("", info.shareName);
  EXPECT_STRNE("", info.volumeName);
}

TEST_F(StorageExternal, AMissingDeviceHasNoVolumeAndLeavesTheRecord) {
  std::string sata = Disk("sata"), usb = Disk("usb5");
  for (std::string device :
       {std::string(), std::string("/dev/sdnone"), std::string("sdnone"), std::string("/dev/null")}) {
    EXTVOLINFO info = {};
    snprintf(info.volumeName, sizeof(info.volumeName), "before");
    KLIBErrSet(0);
    EXPECT_NE(0, KESTDiskUSBDevGetVolInfo(device.data(), &info)) << device;
    EXPECT_NE(0, KLIBErrGet()) << device;
    EXPECT_NE(0, KESTSATAGetVolInfo(device.data(), &info)) << device;
    EXPECT_STREQ("before", info.volumeName);
  }
  EXTVOLINFO info;
  EXPECT_NE(0, KESTDiskUSBDevGetVolInfo(sata.data(), &info));
  EXPECT_NE(0, KESTSATAGetVolInfo(usb.data(), &info));
  EXPECT_NE(0, KESTDiskUSBDevGetVolInfo(nullptr, &info));
  EXPECT_NE(0, KESTSATAGetVolInfo(nullptr, &info));
  EXPECT_NE(0, KESTDiskUSBDevGetVolInfo(usb.data(), nullptr));
  EXPECT_NE(0, KESTSATAGetVolInfo(sata.data(), nullptr));
}

}  // namespace
