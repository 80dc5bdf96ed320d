// A host with Qt: a window with a button that cancels a program, and a notifier for the worker.

#include <lisp_worker/client/async_worker.h>

#include <QApplication>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTimer>
#include <iostream>
#include <string>

namespace client = lisp_worker::client;

int main(int count, char** arguments) {
  // Needs no screen, unless somebody wants to see it.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(count, arguments);
  client::AsyncWorker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");
  if (!worker.start()) {
    std::cerr << worker.fault()->message << "\n";
    return 1;
  }
  QSocketNotifier notifier(worker.handle(), QSocketNotifier::Read);
  QObject::connect(&notifier, &QSocketNotifier::activated, [&worker] { worker.process(); });

  int open_count = 2;
  client::ProgramId unwanted = 0;
  QPushButton button("Cancel");
  button.show();
  QObject::connect(&button, &QPushButton::clicked, [&] { worker.cancel(unwanted); });

  const client::ProgramSettings settings{
      .on_call =
          [&](client::ProgramId id, const client::HostCall& call) {
            std::cout << id << " asks " << call.text << "\n";
            // The user looks at the drawing for a moment, and then presses the button.
            if (id == unwanted) QTimer::singleShot(20, &button, &QPushButton::click);
          },
      .on_end =
          [&](client::ProgramId id, const client::ProgramOutcome& outcome) {
            std::cout << id << ": " << (outcome.hasValue() ? outcome.report.text : "ended")
                      << std::endl;
            if (id == unwanted) worker.answer(1, client::number(20));
            if (--open_count == 0) QApplication::quit();
          }};
  worker.submit("(* 2 (GETDIST \"Width: \"))", settings);
  unwanted = worker.submit("(GETPOINT \"Corner: \")", settings);
  return QApplication::exec();
}
