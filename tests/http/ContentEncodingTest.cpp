#include <gtest/gtest.h>

#include "fakes/TemporaryFolder.h"
#include "http/HttpClient.h"
#include "http/ScriptedServer.h"
#include "support/Cipher.h"

namespace sorn::tests {

using platform::TransportError;

namespace {

// Made with Python of the text {"a":1}: gzip.compress(text, mtime=0), zlib.compress(text), and
// zlib.compressobj(wbits=-15).
const std::string gzipped = support::hexBytes("1f8b0800000000000203ab564a54b232ac0500afac1b5607000000");
const std::string zlibbed = support::hexBytes("789cab564a54b232ac0500082a0209");
const std::string bare = support::hexBytes("ab564a54b232ac0500");
constexpr std::string_view plain = "{\"a\":1}";

// So many zeros, packed by the program.
std::string zeros(std::size_t count) {
  const TemporaryFolder folder;
  const std::string file = folder / "zeros";
  const std::string command = "head -c " + std::to_string(count) + " /dev/zero | gzip > '" + file + "'";
  EXPECT_EQ(std::system(command.c_str()), 0);
  return folder.read("zeros");
}

enum class Frame { length, none };

// What comes of a body with this coding: its text, or the error's code as text.
std::string outcome(const std::string& coding, const std::string& body, std::size_t pieceSize = 1000000,
                    Frame frame = Frame::length) {
  ScriptedServer server([&](const Request&, Connection& c) {
    c.send("HTTP/1.1 200 OK\r\nContent-Encoding: " + coding + "\r\n");
    c.send(frame == Frame::length ? "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n"
                                  : "Connection: close\r\n\r\n");
    for (std::size_t at = 0; at < body.size(); at += pieceSize) {
      if (at > 0) c.pause(std::chrono::milliseconds(2));
      c.send(std::string_view(body).substr(at, pieceSize));
    }
    if (frame == Frame::none) c.close();
  });
  HttpClient client;
  auto result = client.fetch(HttpClient::get(server.url("/")));
  if (const auto* error = std::get_if<TransportError>(&result)) return std::to_string(error->code);
  return std::get<platform::HttpResponse>(result).body;
}

TEST(ContentEncoding, IsUndoneInWhateverPiecesItComes) {
  EXPECT_EQ(outcome("gzip", gzipped), plain);
  EXPECT_EQ(outcome("GZIP", gzipped, 1), plain);
  EXPECT_EQ(outcome("x-gzip", gzipped), plain);
  EXPECT_EQ(outcome("gzip", gzipped + gzipped, 5), std::string(plain) + std::string(plain));
  EXPECT_EQ(outcome("deflate", zlibbed, 1), plain);
  EXPECT_EQ(outcome("deflate", bare, 1), plain);
  EXPECT_EQ(outcome("identity", std::string(plain)), plain);
  // A storage's own label stays, with the coding of the transport on top of it.
  EXPECT_EQ(outcome("aws-chunked", std::string(plain)), plain);
  EXPECT_EQ(outcome("aws-chunked, gzip", gzipped), plain);
}

TEST(ContentEncoding, TellsACutBodyFromABrokenOne) {
  const std::string lost = std::to_string(TransportError::connectionLost);
  const std::string broken = std::to_string(TransportError::cannotDecodeContent);
  for (std::size_t length : {0u, 1u, 9u, 12u, 20u, 26u}) {
    EXPECT_EQ(outcome("gzip", gzipped.substr(0, length)), length == 0 ? "" : lost) << length;
  }
  EXPECT_EQ(outcome("deflate", zlibbed.substr(0, zlibbed.size() - 1)), lost);
  std::string badCheck = gzipped;
  badCheck[20] = static_cast<char>(badCheck[20] ^ 1);
  EXPECT_EQ(outcome("gzip", badCheck), broken);
  EXPECT_EQ(outcome("gzip", std::string(plain)), broken);
  EXPECT_EQ(outcome("gzip", gzipped + "trailing"), broken);
  // Closed without a length: nothing but the coding itself can tell that the end is missing.
  EXPECT_EQ(outcome("gzip", "", 1, Frame::none), lost);
  EXPECT_EQ(outcome("gzip", gzipped.substr(0, 15), 15, Frame::none), lost);
  EXPECT_EQ(outcome("gzip", gzipped, 15, Frame::none), plain);
}

TEST(ContentEncoding, HoldsTheBoundOnTheUnpackedBody) {
  const std::size_t bound = std::size_t{64} << 20;
  EXPECT_EQ(outcome("gzip", zeros(bound)).size(), bound);
  EXPECT_EQ(outcome("gzip", zeros(bound + 1)), std::to_string(TransportError::dataTooLarge));
  EXPECT_EQ(outcome("identity", std::string(bound + 1, 'a')), std::to_string(TransportError::dataTooLarge));
}

}  // namespace
}  // namespace sorn::tests
