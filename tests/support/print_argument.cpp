// Prints its first argument, for tests of what a shell makes of it.
#include <cstdio>

#include "Platform.h"

int main(int argc, char** argv) {
  return tarvek::CallMain(argc, argv, [](int count, const char* const* arguments) {
    return count == 2 && std::fputs(arguments[1], stdout) >= 0 ? 0 : 1;
  });
}
