#include <stdio.h>
#include <string.h>

#include <lisp_worker/c_interface/lisp_worker.h>

static lisp_value* perform(void* user, const char* name, const lisp_value* arguments,
                           const char* text) {
  (void)user;
  (void)arguments;
  printf("%s with %s\n", name, text);
  return strcmp(name, "GETDIST") == 0 ? lisp_value_number(20) : NULL;
}

int main(int count, char** arguments) {
  const char* const program = "(* 2 (GETDIST \"Radius: \"))";
  const char* const path = count > 1 ? arguments[1] : "/usr/bin/lisp_worker";
  lisp_worker_handle* const worker = lisp_worker_new(path, 5000);
  lisp_run* const run = lisp_worker_run(worker, program, strlen(program), 0, perform, NULL);
  if (run == NULL) {
    fprintf(stderr, "%s\n", lisp_worker_fault(worker));
  } else {
    printf("%s\n", lisp_run_text(run, NULL));
  }
  lisp_run_free(run);
  lisp_worker_free(worker);
  return run == NULL;
}
