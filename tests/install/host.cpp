#include <cstdio>

#include "host/server.h"

int main() {
  using namespace vorlix::host;
  Server server({.program = VORLIX_SERVER});
  const Result r = server.Call("fmt_Date", {Int(19991231), Int(0), Int(10), Text("%d.%m.%Y"), OutText(80)});
  std::printf("%d %s\n", r.code, r.args.at(4).TextAt().c_str());
}
