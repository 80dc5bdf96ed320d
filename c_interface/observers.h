// The observers of a worker of the C interface: a recorder, the host's functions, or both. They see
// its frames.

#ifndef C_INTERFACE_OBSERVERS_H_
#define C_INTERFACE_OBSERVERS_H_

#include <memory>
#include <string_view>
#include <utility>

#include "lisp_worker/c_interface/lisp_worker.h"
#include "lisp_worker/client/frame_observer.h"
#include "lisp_worker/session/recorder.h"

namespace lisp_worker::c_interface {

class Observers final : public client::FrameObserver {
 public:
  // Both may be null. Empty, with the reason in `reason_out`, when the observer's size is wrong.
  static std::unique_ptr<Observers> create(const lisp_recorder* recorder,
                                           const lisp_observer* observer, const char** reason_out);

  void onStart() override;
  void onRequest(std::string_view frame) override;
  void onResponse(std::string_view header, std::string_view payload) override;
  void onBrokenResponse(std::string_view bytes) override;
  void onEnd(const client::WorkerExit& exit) override;

  void setRecorder(std::shared_ptr<session::Recorder> recorder) { recorder_ = std::move(recorder); }
  [[nodiscard]] bool hasRecorder() const { return recorder_ != nullptr; }

 private:
  std::shared_ptr<session::Recorder> recorder_;
  lisp_observer host_{};
};

}  // namespace lisp_worker::c_interface

#endif  // C_INTERFACE_OBSERVERS_H_
