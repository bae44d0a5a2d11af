// What a call costs on top of the two signals that carry it.
//
// The floor is a bare ping-pong: this process and a peer that answers every SIGUSR2 from its handler, waiting in
// sigsuspend as the server does, while this side waits with the client library as for any call. All run on one core, so
// that neither the wake-up of a second core nor its absence is measured.
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "bench/measure.h"
#include "host/server.h"

namespace {

using vorlix::bench::Contender;

// Short turns, many of them: a disturbance falls on one turn and not on a median.
constexpr int ROUNDS = 1'000;
constexpr int RUNS = 101;
constexpr double GOAL = 1.15;
constexpr std::string_view PEER_ARGUMENT = "peer";

void AnswerParent(int) { kill(getppid(), SIGUSR2); }

[[noreturn]] void RunPeer() {
  struct sigaction action {};
  action.sa_handler = AnswerParent;
  action.sa_flags = SA_RESTART;
  sigaction(SIGUSR2, &action, nullptr);
  sigset_t none;
  sigemptyset(&none);
  while (true) sigsuspend(&none);
}

void Expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "roundtrip: %s\n", what);
  std::exit(1);
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

  const std::vector<Contender> contenders = {
      {"two signals and no work", [&] { PingPong(peer); }},
      {"dll_Revision, placed once", [&] { Expect(placed.Ring() == 0, "dll_Revision fails"); }},
      {"dll_Revision, placed and read back by Server::Call",
       [&] { Expect(server.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails"); }},
  };
  const std::vector<double> medians = vorlix::bench::MeasureInterleaved(contenders, ROUNDS, RUNS);
  for (size_t i = 0; i < contenders.size(); ++i)
    std::printf("%-52s %7.0f ns  %5.2f x the floor\n", contenders[i].name, medians[i], medians[i] / medians[0]);
  std::printf("goal: at most %.2f x the floor\n", GOAL);
  return 0;
}
