#include <csignal>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "linux/HttpClient.h"
#include "linux/TemporaryFolder.h"

namespace sorn::testing {

using platform::TransportError;

namespace {

// `openssl s_server` on a free loopback port, with a certificate of its own making that nobody vouches for.
class UntrustedServer {
 public:
  UntrustedServer() {
    const std::string make =
        "cd '" + folder_.path().string() +
        "' && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key "
        "-out certificate -subj /CN=localhost -addext subjectAltName=DNS:localhost -days 1 "
        ">/dev/null 2>&1";
    int ends[2];
    if (std::system(make.c_str()) != 0 || ::pipe(ends) != 0) return;
    const std::string key = folder_ / "key";
    const std::string certificate = folder_ / "certificate";
    child_ = ::fork();
    if (child_ == 0) {
      ::dup2(ends[1], STDOUT_FILENO);
      ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
      ::execlp("openssl", "openssl", "s_server", "-accept", "127.0.0.1:0", "-key", key.c_str(), "-cert",
               certificate.c_str(), "-www", static_cast<char*>(nullptr));
      ::_exit(127);
    }
    ::close(ends[1]);
    readPort(ends[0]);
    output_ = ends[0];
  }
  ~UntrustedServer() {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
    if (output_ >= 0) ::close(output_);
  }
  UntrustedServer(const UntrustedServer&) = delete;
  UntrustedServer& operator=(const UntrustedServer&) = delete;

  const std::string& port() const { return port_; }
  std::string certificate() const { return folder_ / "certificate"; }

 private:
  // It says "ACCEPT 127.0.0.1:PORT" once it listens.
  void readPort(int descriptor) {
    std::string text;
    char piece;
    while (::read(descriptor, &piece, 1) == 1) {
      text += piece;
      if (piece != '\n') continue;
      const std::size_t accept = text.find("ACCEPT ");
      if (accept == std::string::npos) continue;
      const std::size_t colon = text.rfind(':');
      port_ = text.substr(colon + 1, text.size() - colon - 2);
      return;
    }
  }

  const TemporaryFolder folder_;
  pid_t child_ = -1;
  int output_ = -1;
  std::string port_;
};

TEST(Tls, RefusesACertificateThatNobodyVouchesFor) {
  const UntrustedServer server;
  ASSERT_NE(server.port(), "");
  // The same server answers one who trusts its certificate, so the refusal is about nothing else.
  const std::string trusting = "openssl s_client -connect 127.0.0.1:" + server.port() + " -CAfile '" +
                               server.certificate() +
                               "' -verify_return_error -verify_hostname localhost </dev/null >/dev/null 2>&1";
  EXPECT_EQ(std::system(trusting.c_str()), 0);
  HttpClient client;
  EXPECT_EQ(client.errorOf(HttpClient::get("https://localhost:" + server.port() + "/")),
            TransportError::secureConnectionFailed);
}

}  // namespace
}  // namespace sorn::testing
