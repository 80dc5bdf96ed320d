// The files of the page, as parts of the program. cmake/watch_page.cmake makes them of
// console/watch/page.*.

#ifndef CONSOLE_WATCH_PAGE_FILES_H_
#define CONSOLE_WATCH_PAGE_FILES_H_

namespace lisp_worker::console {

extern const char* const kPageHtml;
extern const char* const kPageCss;
extern const char* const kPageScript;
extern const char* const kPageIcon;

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_PAGE_FILES_H_
