// The recorder comes first: it has a frame even when the host's function ends the thread.

#include "c_interface/observers.h"

#include <filesystem>

#include "c_interface/host_callback.h"
#include "c_interface/objects.h"
#include "client/system_text.h"

namespace lisp_worker::c_interface {
namespace {

// Calls a function that cannot fail; what it throws is lost.
template <typename Function, typename... Arguments>
void tell(Function function, Arguments... arguments) {
  if (function == nullptr) return;
  callHost([&] { function(arguments...); }, [](std::string_view) {});
}

}  // namespace

std::unique_ptr<Observers> Observers::create(const lisp_recorder* recorder,
                                             const lisp_observer* observer,
                                             const char** reason_out) {
  const std::optional<lisp_observer> host = readStructure(observer, reason_out);
  if (!host) return nullptr;
  auto made = std::make_unique<Observers>();
  made->host_ = *host;
  if (recorder != nullptr) made->recorder_ = recorder->recorder;
  return made;
}

void Observers::onStart() {
  if (recorder_ != nullptr) recorder_->onStart();
  tell(host_.on_start, host_.user);
}

void Observers::onRequest(std::string_view frame) {
  if (recorder_ != nullptr) recorder_->onRequest(frame);
  tell(host_.on_request, host_.user, frame.data(), frame.size());
}

void Observers::onResponse(std::string_view header, std::string_view payload) {
  if (recorder_ != nullptr) recorder_->onResponse(header, payload);
  tell(host_.on_response, host_.user, header.data(), header.size(), payload.data(), payload.size());
}

void Observers::onBrokenResponse(std::string_view bytes) {
  if (recorder_ != nullptr) recorder_->onBrokenResponse(bytes);
  tell(host_.on_broken_response, host_.user, bytes.data(), bytes.size());
}

void Observers::onEnd(const client::WorkerExit& exit) {
  if (recorder_ != nullptr) recorder_->onEnd(exit);
  tell(host_.on_end, host_.user, static_cast<int>(exit.kind), exit.code);
}

}  // namespace lisp_worker::c_interface

namespace c_interface = lisp_worker::c_interface;
namespace session = lisp_worker::session;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

lisp_recorder* lisp_recorder_new(const char* path, size_t size) {
  auto made = std::make_unique<lisp_recorder>();
  const std::string_view text = c_interface::viewOf(path, size);
  const std::optional<std::filesystem::path> file = lisp_worker::client::pathFromText(text);
  if (text.empty()) {
    made->reason = "there is no path";
  } else if (text.find('\0') != text.npos) {
    made->reason = "the path holds a zero";
  } else if (!file) {
    made->reason = "the path is not UTF-8";
  } else {
    made->recorder = session::Recorder::create(*file, &made->reason);
  }
  return made.release();
}

void lisp_recorder_free(lisp_recorder* recorder) { delete recorder; }

const char* lisp_recorder_failure(const lisp_recorder* recorder, size_t* size_out) {
  if (recorder == nullptr) return c_interface::giveText("there is no recorder", size_out);
  if (recorder->recorder == nullptr) return c_interface::giveText(recorder->reason, size_out);
  c_interface::lend(recorder->failure, recorder->recorder->failure());
  return c_interface::giveText(recorder->failure, size_out);
}

// NOLINTEND(readability-identifier-naming)
