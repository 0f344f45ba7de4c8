#pragma once

// One connection's bytes. Every wait also ends when the server stops, so that no thread is left behind.

#include <chrono>
#include <cstddef>
#include <string_view>

namespace sorn::emulator {

// Owns a file descriptor.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();

  int number() const { return number_; }
  bool isOpen() const { return number_ >= 0; }
  void close();

 private:
  int number_;
};

class Channel {
 public:
  // `stop` becomes readable when the server stops; it must outlive the channel.
  Channel(Descriptor socket, int stop);

  // Bytes read; 0 when there will be no more, because the caller has left or the server stops.
  std::size_t read(char* buffer, std::size_t size);

  // Whether all of `bytes` was handed to the system.
  bool write(std::string_view bytes);

  // Lets time pass; false when meanwhile the caller has left or the server stops.
  bool pause(std::chrono::duration<double> time);

  // Closes the connection with a reset instead of an orderly end.
  void reset();

 private:
  enum class Wake { ready, stopped };
  Wake waitFor(short events);

  Descriptor socket_;
  int stop_;
};

}  // namespace sorn::emulator
