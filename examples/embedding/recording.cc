#include <lisp_worker/client/worker.h>
#include <lisp_worker/session/recorder.h>
#include <lisp_worker/session/session.h>

#include <filesystem>
#include <iostream>
#include <string>

namespace client = lisp_worker::client;
namespace session = lisp_worker::session;

int main(int count, char** arguments) {
  const auto path = std::filesystem::temp_directory_path() / "embedding_example.session";
  std::filesystem::remove(path);
  std::string error;
  const auto recorder = session::Recorder::create(path, &error);
  if (recorder == nullptr) {
    std::cerr << path.string() << ": " << error << "\n";
    return 1;
  }
  {
    client::Worker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker",
                          {.observer = recorder.get()});
    if (!worker.run("(+ 1 2)")) return 1;
    worker.stop();
  }
  const auto recorded = session::readSession(path, &error);
  if (recorded) std::cout << recorded->records.size() << " records\n";
  std::filesystem::remove(path);
}
