#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "tests/support/ChildProcess.h"

namespace {

int Connected(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << std::strerror(errno);
  return client;
}

bool IsLeft(int client) {
  constexpr int kPatience = 2000;  // milliseconds
  pollfd waited = {client, POLLIN, 0};
  return poll(&waited, 1, kPatience) > 0;
}

// Each round is a race between the service's end and the start of the processes that serve.
TEST(ModuleService, LeavesNobodyBehindWhoServesApplicationsThatHaveJustCome) {
  std::string folder = std::filesystem::temp_directory_path() / "qel-module-XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  for (int round = 0; round < 15; ++round) {
    const std::string path = folder + "/socket";
    BackgroundChild service(QEL_CTKHOST, {"module", "--socket", path}, {{"QEL_SOFTCARD_DIR", folder + "/cards"}},
                            folder + "/log");
    ASSERT_TRUE(service.WaitFor("export PKCS11_MODULE_PATH;\n")) << service.Log();
    std::vector<int> clients;
    for (int i = 0; i < 8; ++i) clients.push_back(Connected(path));
    service.Stop();
    for (const int client : clients) {
      EXPECT_TRUE(IsLeft(client)) << "round " << round;
      close(client);
    }
    std::filesystem::remove(folder + "/log");
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
