#pragma once

// Listens on an address and gives each connection a thread. Stopping ends them all, also those that hang. A
// connection whose thread meets an exception ends with status 500.

#include <functional>
#include <list>
#include <string>
#include <thread>

#include "sorn-emulator/Channel.h"

namespace sorn::emulator {

class Listener {
 public:
  using Serve = std::function<void(Channel&)>;

  // Listens at once; port 0 takes a free one. Throws std::runtime_error when the address can't be had.
  Listener(const std::string& address, int port, Serve serve);
  // Closes the socket, ends every connection and waits for their threads.
  ~Listener();

  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int port() const { return port_; }

 private:
  struct Connection;

  void acceptLoop();
  void serve(Connection& connection);
  void reapEnded();

  Serve serve_;
  Descriptor stop_;
  Descriptor socket_;
  int port_ = 0;
  std::list<Connection> connections_;  // of the accepting thread alone
  std::thread acceptor_;
};

}  // namespace sorn::emulator
