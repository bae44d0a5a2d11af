// A process that answers method calls over a connection of its own, without a bus in between.
#pragma once

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>

#include "bench/measure.h"

namespace vorlix::bench {

class BusEcho {
 public:
  BusEcho() {
    std::array<int, 2> ends{};
    Expect(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0, "no socket");
    peer_ = fork();
    if (peer_ == 0) Serve(ends[1]);
    close(ends[1]);
    Expect(sd_bus_new(&bus_) >= 0 && sd_bus_set_fd(bus_, ends[0], ends[0]) >= 0 && sd_bus_start(bus_) >= 0, "no bus");
  }
  ~BusEcho() {
    sd_bus_unref(bus_);
    kill(peer_, SIGKILL);
    waitpid(peer_, nullptr, 0);
  }
  BusEcho(const BusEcho&) = delete;
  BusEcho& operator=(const BusEcho&) = delete;

  /// A method call without arguments that gives a text back.
  void Call() {
    sd_bus_message* reply = nullptr;
    const char* text = nullptr;
    Expect(sd_bus_call_method(bus_, nullptr, "/", "vorlix.Bench", "Revision", nullptr, &reply, "") >= 0 &&
               sd_bus_message_read(reply, "s", &text) >= 0,
           "the bus does not answer");
    sd_bus_message_unref(reply);
  }

 private:
  static int Answer(sd_bus_message* message, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(message, "s", "3.10");
  }

  [[noreturn]] static void Serve(int end) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sd_bus* bus = nullptr;
    const sd_id128_t id{};
    Expect(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, end, end) >= 0 && sd_bus_set_server(bus, 1, id) >= 0 &&
               sd_bus_set_anonymous(bus, 1) >= 0 && sd_bus_start(bus) >= 0 &&
               sd_bus_add_object(bus, nullptr, "/", Answer, nullptr) >= 0,
           "no bus server");
    while (true)
      if (sd_bus_process(bus, nullptr) == 0) sd_bus_wait(bus, UINT64_MAX);
  }

  sd_bus* bus_ = nullptr;
  pid_t peer_ = -1;
};

}  // namespace vorlix::bench
