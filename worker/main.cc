// The worker as a process. It takes no arguments, opens nothing and prints nothing: requests come
// in on standard input, responses leave on standard output, and the exit code tells why it ended.

#include "worker/loop.h"
#include "worker/stdio.h"

int main() {
  worker::keepAliveOnBrokenPipe();
  worker::StandardInput input;
  worker::StandardOutput output;
  return static_cast<int>(worker::runWorker(input, output));
}
