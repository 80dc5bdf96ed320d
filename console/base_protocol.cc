#include "console/base_protocol.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

namespace lisp_worker::console {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeaderEnd = "\r\n\r\n";
constexpr std::string_view kLengthName = "content-length";

char lowerCase(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSameName(std::string_view name, std::string_view lower) {
  return std::equal(name.begin(), name.end(), lower.begin(), lower.end(),
                    [](char left, char right) { return lowerCase(left) == right; });
}

std::string_view withoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<std::size_t> readSize(std::string_view digits) {
  std::size_t size = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), size);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return size;
}

// The number of bytes that a header announces. Other fields say nothing that is needed here. Empty,
// with the reason, if there is no such number.
std::optional<std::size_t> announcedSize(std::string_view header, std::string& reason) {
  std::optional<std::size_t> size;
  while (!header.empty()) {
    const std::string_view line = header.substr(0, header.find(kLineEnd));
    header.remove_prefix(std::min(header.size(), line.size() + kLineEnd.size()));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
      reason = "a header line without a colon";
      return std::nullopt;
    }
    if (!isSameName(line.substr(0, colon), kLengthName)) continue;
    if (size) {
      reason = "two Content-Length lines in one header";
      return std::nullopt;
    }
    size = readSize(withoutBlanks(line.substr(colon + 1)));
    if (!size) {
      reason = "Content-Length is not a number of bytes";
      return std::nullopt;
    }
  }
  if (!size) reason = "a header without Content-Length";
  return size;
}

}  // namespace

void MessageReader::append(std::string_view bytes) {
  if (why_broken_.empty()) bytes_.append(bytes);
}

MessageReader::Result MessageReader::next(std::string& message) {
  if (why_broken_.empty() && message_begin_ == 0 && !readHeader() && why_broken_.empty()) {
    return Result::More;
  }
  if (!why_broken_.empty()) {
    message = why_broken_;
    return Result::Broken;
  }
  if (bytes_.size() - message_begin_ < message_size_) return Result::More;
  message = bytes_.substr(message_begin_, message_size_);
  begin_ = message_begin_ + message_size_;
  searched_ = begin_;
  message_begin_ = 0;
  // Bytes that were given are dropped once they are the most, so that each is moved about once.
  if (begin_ > bytes_.size() / 2) {
    bytes_.erase(0, begin_);
    begin_ = 0;
    searched_ = 0;
  }
  return Result::Message;
}

// True once the header is whole and says a size.
bool MessageReader::readHeader() {
  const std::size_t end = bytes_.find(kHeaderEnd, searched_);
  const std::size_t size =
      (end == std::string::npos ? bytes_.size() : end + kHeaderEnd.size()) - begin_;
  if (size > kHeaderBytesMax) {
    why_broken_ = "a header of more than " + std::to_string(kHeaderBytesMax) + " bytes";
    return false;
  }
  if (end == std::string::npos) {
    // The last three bytes may begin the end.
    searched_ = std::max(begin_, bytes_.size() - std::min(bytes_.size(), kHeaderEnd.size() - 1));
    return false;
  }
  const std::string_view header = std::string_view(bytes_).substr(begin_, end - begin_);
  const std::optional<std::size_t> announced = announcedSize(header, why_broken_);
  if (!announced) return false;
  if (*announced > kMessageBytesMax) {
    why_broken_ = "a message of more than " + std::to_string(kMessageBytesMax) + " bytes";
    return false;
  }
  message_begin_ = end + kHeaderEnd.size();
  message_size_ = *announced;
  return true;
}

std::string framed(std::string_view message) {
  std::string frame = "Content-Length: ";
  frame += std::to_string(message.size());
  frame += kHeaderEnd;
  frame += message;
  return frame;
}

}  // namespace lisp_worker::console
