#include <fstream>

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

// A small file system of its own, in memory.
class SmallDisk {
 public:
  explicit SmallDisk(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    isMounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=2m") == 0;
  }
  ~SmallDisk() {
    if (isMounted_) ::umount2(folder_.c_str(), MNT_DETACH);
  }
  bool isMounted() const { return isMounted_; }

  void fill() {
    std::ofstream filler(folder_ / "filler", std::ios::binary);
    const std::string block(4096, 'x');
    while (filler.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
    }
  }
  void makeSpace() { std::filesystem::remove(folder_ / "filler"); }

 private:
  std::filesystem::path folder_;
  bool isMounted_ = false;
};

TEST(Disk, EventsOfAFullDiskAreStoredWhenSpaceReturns) {
  Site site;
  SmallDisk disk(site.data);
  if (!disk.isMounted()) GTEST_SKIP() << "mounting a file system is not allowed here";
  {
    ConsoleHost host(site);
    host.expect("advance 0");
    site.service.stop();
    disk.fill();
    host.logEvents(0, 59);
    host.expect("login somebody");
    host.expect("advance 130");
    disk.makeSpace();
    // The save of one more event carries everything that waited for space.
    host.logEvents(59, 1);
    host.kill();
  }
  site.service.start();
  ConsoleHost next(site);
  next.expect("advance 121");
  EXPECT_EQ(numbersReceived(site.service), numbersBelow(60));
}

TEST(Disk, ReportOnAFullDiskIsSentOnceAndDeletedLater) {
  Site site;
  SmallDisk disk(site.data);
  if (!disk.isMounted()) GTEST_SKIP() << "mounting a file system is not allowed here";
  ConsoleHost host(site);
  host.logEvents(0, 8);
  disk.fill();
  host.expect("advance 300");
  EXPECT_EQ(numbersReceived(site.service), numbersBelow(8))
      << "an event whose deletion cannot be saved goes out once";
  EXPECT_FALSE(host.expect("state").at("records").contains("SNEvent"));
  disk.makeSpace();
  host.expect("advance 61");
  host.kill();
  ConsoleHost next(site);
  next.expect("advance 121");
  EXPECT_EQ(numbersReceived(site.service), numbersBelow(8));
}

}  // namespace
}  // namespace sorn::tests
