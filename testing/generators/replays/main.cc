// lisp_replays: many small recorded sessions, and replays of all of them by another worker.
//
//   lisp_replays record WORKER DIRECTORY COUNT
//   lisp_replays replay WORKER DIRECTORY...
//
// `record` makes a session for each seed from 1 to COUNT. The seeds take turns: random
// conversations, compared with the literal implementation while they are recorded; conversations of
// programs that wait for their host; and such as end with a damaged or cut request. The same seed
// sends the same requests.
//
// `replay` replays every session of the directories and tells how many sessions and records were
// equal. Exit code 0 says that all were, and that there was at least one.

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/recorder.h"
#include "lisp_worker/session/replay.h"
#include "lisp_worker/session/session.h"
#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"
#include "testing/generators/conversation.h"
#include "testing/generators/waiting_conversation.h"
#include "testing/wire/frame_port.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {
namespace {

constexpr std::chrono::milliseconds kPatience{60000};
constexpr auto kNoStatus = static_cast<worker::WorkerStatus>(0xFFFFFFFF);

std::string bytesOf(const Frame& frame) {
  worker::MessageHeader header = requestHeader(frame.type);
  header.context_id = frame.context_id;
  header.run_id = frame.run_id;
  return frameBytes(header, frame.payload);
}

// A worker whose frames are recorded.
class RecordedWorker : public FramePort {
 public:
  RecordedWorker(std::unique_ptr<client::WorkerProcess> process,
                 std::unique_ptr<session::Recorder> recorder)
      : process_(std::move(process)), recorder_(std::move(recorder)) {
    recorder_->onStart();
  }

  // A worker that goes away answers with a response of no known status.
  FrameResponse handle(const Frame& frame) override {
    FrameResponse response{kNoStatus, {}};
    if (send(bytesOf(frame))) static_cast<void>(receive(response));
    return response;
  }

  // Sends `bytes` as the last ones, and takes what comes for them.
  void endWith(const std::string& bytes) {
    if (!send(bytes)) return;
    process_->endInput();
    FrameResponse response;
    while (receive(response)) {
    }
  }

  // True when the session is whole on record.
  bool finish() {
    recorder_->onEnd(process_->finish());
    return recorder_->isComplete();
  }

 private:
  bool send(const std::string& bytes) {
    if (!process_->write(bytes)) return false;
    recorder_->onRequest(bytes);
    return true;
  }

  bool receive(FrameResponse& response) {
    std::string header(worker::kHeaderSize, '\0');
    if (process_->read(header.data(), header.size()) != header.size()) return false;
    response.status = static_cast<worker::WorkerStatus>(
        worker::getU32(header.data() + worker::HeaderOffset::kStatus));
    response.payload.resize(worker::getU32(header.data() + worker::HeaderOffset::kPayloadLength));
    const std::size_t size = process_->read(response.payload.data(), response.payload.size());
    if (size != response.payload.size()) return false;
    recorder_->onResponse(header, response.payload);
    return true;
  }

  std::unique_ptr<client::WorkerProcess> process_;
  std::unique_ptr<session::Recorder> recorder_;
};

// True when all answers are those of the literal implementation.
bool recordConversation(std::uint64_t seed, RecordedWorker& worker) {
  return !firstDisagreement(generateConversation(seed).exchanges, worker);
}

// The last request has lost its end, or a bit of it is another one.
bool recordDamage(std::uint64_t seed, RecordedWorker& worker) {
  const std::vector<Exchange> exchanges = generateConversation(seed).exchanges;
  if (exchanges.empty()) return true;
  Random random(seed);
  const std::size_t last = random.below(std::min<std::size_t>(exchanges.size(), 8));
  for (std::size_t i = 0; i < last; ++i) static_cast<void>(worker.handle(exchanges[i].frame));
  std::string bytes = bytesOf(exchanges[last].frame);
  if (random.chance(1, 3)) {
    bytes.resize(random.below(bytes.size()));
  } else {
    const std::size_t at =
        random.below(random.chance(2, 3) ? worker::HeaderOffset::kContextId : bytes.size());
    bytes[at] = static_cast<char>(bytes[at] ^ (1 << random.below(8)));
  }
  worker.endWith(bytes);
  return true;
}

bool recordSeed(std::uint64_t seed, const std::string& worker_path,
                const std::filesystem::path& directory) {
  std::string number = std::to_string(seed);
  number.insert(0, 6 - std::min<std::size_t>(number.size(), 6), '0');
  std::string error;
  auto process = client::startWorker(worker_path, &error);
  auto recorder = process == nullptr
                      ? nullptr
                      : session::Recorder::create(directory / (number + ".session"), &error);
  if (recorder == nullptr) {
    std::cerr << "lisp_replays: seed " << seed << ": " << error << "\n";
    return false;
  }
  RecordedWorker worker(std::move(process), std::move(recorder));
  bool is_right = true;
  switch (seed % 4) {
    case 0:
      is_right = recordDamage(seed, worker);
      break;
    case 1:
      static_cast<void>(playWaitingConversation(seed, worker));
      break;
    default:
      is_right = recordConversation(seed, worker);
  }
  if (!is_right) {
    std::cerr << "lisp_replays: seed " << seed << ": another answer than the literal one\n";
  }
  return worker.finish() && is_right;
}

bool recordAll(const std::string& worker_path, const std::filesystem::path& directory,
               std::uint64_t count) {
  bool all_done = count > 0;
  for (std::uint64_t seed = 1; seed <= count; ++seed) {
    all_done &= recordSeed(seed, worker_path, directory);
  }
  return all_done;
}

std::vector<std::filesystem::path> sessionsIn(const std::vector<std::string>& directories) {
  std::vector<std::filesystem::path> paths;
  for (const std::string& directory : directories) {
    for (const auto& file : std::filesystem::directory_iterator(directory)) {
      if (file.path().extension() == ".session") paths.push_back(file.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

// A session's records, and how many of them a worker made again.
struct Comparison {
  std::size_t records = 0;
  std::size_t equal = 0;
};

Comparison replay(const std::filesystem::path& path, const client::WorkerStarter& starter) {
  std::string error;
  const auto session = session::readSession(path, &error);
  if (!session || session->end != session::FileEnd::Whole) {
    std::cerr << path.string() << ": " << (session ? session->end_text : error) << "\n";
    return {1, 0};
  }
  const session::ReplayReport report = session::replaySession(*session, starter, kPatience);
  Comparison comparison{session->records.size(), session->records.size()};
  if (const auto number = session::firstDifference(*session, report.made)) {
    comparison.equal = *number;
    std::cerr << path.string() << ": another record " << *number << " " << report.error << "\n";
  }
  return comparison;
}

bool replayAll(const std::string& worker_path, const std::vector<std::string>& directories) {
  const client::WorkerStarter starter = [&](std::string* error_out) {
    return client::startWorker(worker_path, error_out);
  };
  std::size_t sessions = 0;
  std::size_t equal_sessions = 0;
  Comparison all;
  for (const std::filesystem::path& path : sessionsIn(directories)) {
    const Comparison comparison = replay(path, starter);
    ++sessions;
    if (comparison.equal == comparison.records) ++equal_sessions;
    all.records += comparison.records;
    all.equal += comparison.equal;
  }
  std::cout << equal_sessions << " of " << sessions << " sessions are equal, " << all.equal
            << " of " << all.records << " records\n";
  return sessions > 0 && equal_sessions == sessions;
}

int run(const std::vector<std::string>& arguments) {
  if (arguments.size() == 4 && arguments[0] == "record") {
    std::uint64_t count = 0;
    const std::string& digits = arguments[3];
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), count).ptr;
    if (end == digits.data() + digits.size()) {
      return recordAll(arguments[1], arguments[2], count) ? 0 : 1;
    }
  }
  if (arguments.size() >= 3 && arguments[0] == "replay") {
    return replayAll(arguments[1], {arguments.begin() + 2, arguments.end()}) ? 0 : 1;
  }
  std::cerr << "usage: lisp_replays record WORKER DIRECTORY COUNT\n"
               "       lisp_replays replay WORKER DIRECTORY...\n";
  return 2;
}

}  // namespace
}  // namespace lisp_worker::testing_support

int main(int argc, char** argv) {
  return lisp_worker::testing_support::run({argv + 1, argv + argc});
}
