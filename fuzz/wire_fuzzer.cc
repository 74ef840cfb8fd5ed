// Bytes of any kind on the socket, read by both sides: frames as the extension's process reads them, and answers as
// each call of the host understands them.

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/wire/Client.h"

namespace {

using namespace Wire;

/// A stream that gives `bytes` and then ends. What is written to it is never read.
class Stream {
 public:
  explicit Stream(const std::string& bytes) {
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends) != 0) std::abort();
    if (write(m_ends[1], bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) std::abort();
    shutdown(m_ends[1], SHUT_WR);
  }
  ~Stream() {
    close(m_ends[0]);
    close(m_ends[1]);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  int OurEnd() const { return m_ends[0]; }

 private:
  int m_ends[2];
};

std::string Frame(const std::string& header, const std::string& attachment) {
  std::string frame;
  for (const size_t length : {header.size(), attachment.size()}) {
    for (int i = 0; i < 4; ++i) frame += static_cast<char>(length >> (8 * i));
  }
  return frame + header + attachment;
}

std::string AnyFrame(FuzzedDataProvider& input) {
  const std::string header = input.ConsumeRandomLengthString(400);
  return Frame(header, input.ConsumeRandomLengthString(20));
}

void ReadFrames(const std::string& bytes) {
  const Stream stream(bytes);
  while (const auto message = Receive(stream.OurEnd(), std::chrono::milliseconds(1000))) {
    if (!message->header.is_object()) std::abort();
  }
}

void ReadAnswer(int call, const std::string& bytes) {
  const Stream stream(bytes);
  Channel channel(dup(stream.OurEnd()), std::chrono::milliseconds(1000));
  Client client(channel);
  switch (call) {
    case 0:
      client.Hello();
      break;
    case 1:
      client.CreateToken("reader");
      break;
    case 2:
      client.CreateSession(1);
      break;
    case 3:
      client.SupportsOperation(1, Operation::SignData, "12", {});
      break;
    case 4:
      client.SignData(1, "12", {}, {});
      break;
    case 5:
      client.BeginAuth(1, Operation::SignData, "PINAlways");
      break;
    default:
      client.FinishAuth(1, Attachment("1234", 4));
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const int call = input.ConsumeIntegralInRange(0, 7);
  const std::string bytes = input.ConsumeBool() ? AnyFrame(input) : input.ConsumeRemainingBytesAsString();
  try {
    if (call == 7) {
      ReadFrames(bytes);
    } else {
      ReadAnswer(call, bytes);
    }
  } catch (const ProtocolError&) {  // the one way in which either side refuses
  }
  return 0;
}
