// One direction of a conversation as it went through a pipe, such as `tee` keeps it: frames, and
// nothing that tells who sent them or when.

#ifndef SESSION_FRAME_STREAM_H_
#define SESSION_FRAME_STREAM_H_

#include <string_view>

#include "lisp_worker/session/session.h"

namespace lisp_worker::session {

// True when `bytes` begin with the header of a frame of this version. No recorded session does.
[[nodiscard]] bool beginsWithFrame(std::string_view bytes);

// The frames as records, all at time 0: responses if each of them can be one and one of them can be
// nothing else, otherwise requests. What follows the last whole frame is no record; the end tells
// of it.
[[nodiscard]] RecordedSession sessionOfFrames(std::string_view bytes);

}  // namespace lisp_worker::session

#endif  // SESSION_FRAME_STREAM_H_
