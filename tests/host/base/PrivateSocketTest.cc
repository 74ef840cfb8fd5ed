#include "host/base/PrivateSocket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/base/Failure.h"

namespace {

namespace fs = std::filesystem;
using Host::PrivateSocket;

mode_t ModeOf(const fs::path& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// The message of the Failure with which a socket at `path` is refused; empty: it is not.
std::string Refusal(const std::string& path) {
  try {
    const PrivateSocket socket(path);
    return "";
  } catch (const Host::Failure& failure) {
    return failure.what();
  }
}

class PrivateSockets : public ::testing::Test {
 protected:
  PrivateSockets() {
    std::string name = fs::temp_directory_path() / "qel-socket-XXXXXX";
    folder = mkdtemp(name.data());
  }
  ~PrivateSockets() override { fs::remove_all(folder); }

  fs::path folder;
};

TEST_F(PrivateSockets, AreTheOwnersAloneWhateverTheMask) {
  const mode_t mask = umask(0);
  const PrivateSocket socket(folder / "new" / "agent");
  EXPECT_EQ(umask(mask), 0u);
  EXPECT_EQ(ModeOf(folder / "new"), 0700u);
  EXPECT_EQ(ModeOf(folder / "new" / "agent"), 0600u);
}

TEST_F(PrivateSockets, LeaveNothingBehind) {
  fs::path made;
  {
    const PrivateSocket socket("");
    made = socket.Path();
    EXPECT_EQ(ModeOf(made), 0600u);
    EXPECT_EQ(ModeOf(made.parent_path()), 0700u);
  }
  EXPECT_FALSE(fs::exists(made.parent_path()));
}

TEST_F(PrivateSockets, RefuseAFolderThatOthersMayEnter) {
  for (const fs::perms others :
       {fs::perms::group_exec, fs::perms::others_read, fs::perms::all | fs::perms::sticky_bit}) {
    fs::permissions(folder, fs::perms::owner_all | others);
    EXPECT_EQ(Refusal(folder / "agent"),
              "no socket at " + (folder / "agent").string() + ": " + folder.string() +
                  " is for others too; name a folder that is not there yet, which becomes yours alone");
  }
}

TEST_F(PrivateSockets, HaveAPathThatIsTheSameInEveryFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder);
  EXPECT_EQ(PrivateSocket("agent").Path(), folder / "agent");
  fs::current_path(before);
}

TEST_F(PrivateSockets, RefuseAFileInPlaceOfAFolder) {
  std::ofstream(folder / "file") << "text";
  EXPECT_NE(Refusal(folder / "file" / "agent").find("file is no folder"), std::string::npos);
}

TEST_F(PrivateSockets, RefuseToReplaceAFileOrALivingAgent) {
  std::ofstream(folder / "file") << "text";
  EXPECT_NE(Refusal(folder / "file").find("no socket"), std::string::npos);
  EXPECT_TRUE(fs::exists(folder / "file"));
  const PrivateSocket living(folder / "agent");
  EXPECT_NE(Refusal(folder / "agent").find("another program answers there"), std::string::npos);
  EXPECT_TRUE(fs::is_socket(folder / "agent"));
}

TEST_F(PrivateSockets, ReplaceWhatADeadAgentLeft) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  (folder / "agent").string().copy(address.sun_path, sizeof address.sun_path - 1);
  const int dead = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(dead, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(dead);
  ASSERT_TRUE(fs::is_socket(folder / "agent"));
  EXPECT_EQ(Refusal(folder / "agent"), "");
}

TEST_F(PrivateSockets, RefuseAPathThatASocketCannotHave) {
  EXPECT_NE(Refusal(folder / std::string(120, 'x')).find("too long"), std::string::npos);
  EXPECT_NE(Refusal(folder / "no" / "such" / "folder").find("No such file"), std::string::npos);
}

}  // namespace
