// What a call costs on top of the two signals that carry it, and beside a call over a message bus.
//
// The floor is a bare ping-pong: this process and a peer that answers every SIGUSR2, waiting in sigwait as the server
// does, while this side waits with the client library as for any call. All run on one core, so
// that neither the wake-up of a second core nor its absence is measured.
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string_view>

#include "bench/measure.h"
#include "host/server.h"
#ifdef HAVE_SYSTEMD
#include "bench/busecho.h"
#endif

namespace {

using vorlix::bench::Expect;

// Short turns, many of them: a disturbance falls on one turn and not on a median.
constexpr int ROUNDS = 1'000;
constexpr int RUNS = 101;
constexpr double FLOOR_GOAL = 1.10;
constexpr std::string_view PEER_ARGUMENT = "peer";

[[noreturn]] void RunPeer() {
  sigset_t calls;
  sigemptyset(&calls);
  sigaddset(&calls, SIGUSR2);
  for (int signal = 0;;)
    if (sigwait(&calls, &signal) == 0) kill(getppid(), SIGUSR2);
}

void PingPong(vorlix::host::Process& peer) {
  peer.Signal(SIGUSR2);
  const auto event = peer.Wait(vorlix::host::Clock::now() + std::chrono::seconds(10));
  Expect(event == vorlix::host::Process::Event::Answer, "the peer does not answer");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && argv[1] == PEER_ARGUMENT) RunPeer();

  namespace host = vorlix::host;
  vorlix::bench::PinToOneCore();
  host::Process peer("/proc/self/exe", {std::string(PEER_ARGUMENT)});
  host::Server server({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  host::Server placed({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  Expect(placed.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails");
  const auto call = [&] { Expect(server.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails"); };

  using vorlix::bench::Compare;
  const vorlix::bench::Contender floor = {"two signals and no work", [&] { PingPong(peer); }, FLOOR_GOAL};
  Compare("a call, placed once", {{"", [&] { Expect(placed.Ring() == 0, "dll_Revision fails"); }}, floor}, 1, ROUNDS,
          RUNS);
  Compare("a call, placed and read back", {{"", call}, floor}, 1, ROUNDS, RUNS);
#ifdef HAVE_SYSTEMD
  constexpr double BUS_GOAL = 0.5;
  vorlix::bench::BusEcho bus;
  Compare("a call, placed and read back", {{"", call}, {"sd-bus, peer to peer", [&] { bus.Call(); }, BUS_GOAL}}, 1,
          ROUNDS / 4, RUNS);
#else
  std::puts("libsystemd is not there: its row is left out");
#endif
  return 0;
}
