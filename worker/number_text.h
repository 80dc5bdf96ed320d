// The text of a number in a response.

#ifndef WORKER_NUMBER_TEXT_H_
#define WORKER_NUMBER_TEXT_H_

#include <string>

namespace worker {

// Appends what printf's "%.17g" writes in the "C" locale; "nan" or "-nan", by its sign bit, for
// every NaN.
void appendNumber(double number, std::string& text);

}  // namespace worker

#endif  // WORKER_NUMBER_TEXT_H_
