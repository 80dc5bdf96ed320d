#include <stdio.h>

#include <lisp_worker/c_interface/lisp_worker.h>

/* Prints how a step has ended and, while it waits, what it waits for; returns its id. */
static uint64_t show(lisp_worker_handle* worker, lisp_run* run) {
  const uint64_t id = lisp_run_id(run);
  if (run == NULL) {
    printf("no worker: %s\n", lisp_worker_fault(worker));
  } else if (id != 0) {
    printf("%s for %s %s\n", lisp_run_end_name(run), lisp_call_name(lisp_run_call(run), NULL),
           lisp_call_text(lisp_run_call(run), NULL));
  } else {
    printf("%s: %s\n", lisp_run_end_name(run), lisp_run_text(run, NULL));
  }
  lisp_run_free(run);
  return id;
}

int main(int count, char** arguments) {
  const lisp_worker_options options = {.size = sizeof options,
                                       .path = count > 1 ? arguments[1] : "/usr/bin/lisp_worker",
                                       .time_limit_ms = 5000};
  const char* reason = NULL;
  lisp_worker_handle* const worker = lisp_worker_open(&options, &reason);
  if (worker == NULL) {
    fprintf(stderr, "%s\n", reason);
    return 1;
  }
  const uint64_t first = show(
      worker, lisp_worker_start_run(worker, "(SSLENGTH (SSGET \"X\"))", LISP_TO_ZERO, 0));
  const uint64_t second =
      show(worker, lisp_worker_start_run(worker, "(GETPOINT \"From: \")", LISP_TO_ZERO, 0));

  lisp_value* const member = lisp_value_string("1F", LISP_TO_ZERO);
  const lisp_value* const members[] = {member, member};
  lisp_value* const set = lisp_value_selection_set(members, 2);
  show(worker, lisp_worker_resume_run(worker, first, set));
  printf("%s\n", lisp_status_name(lisp_worker_cancel_run(worker, second)));
  lisp_value_free(set);
  lisp_value_free(member);
  lisp_worker_free(worker);
  return 0;
}
