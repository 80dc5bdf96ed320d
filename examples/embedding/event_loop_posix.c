#include <poll.h>
#include <stdio.h>

#include <lisp_worker/c_interface/lisp_async_worker.h>

/* The user's part: which programs wait for an answer, and how many are open. */
struct user {
  uint64_t waiting[2];
  int waiting_count;
  int open_count;
};

static int on_call(void* data, uint64_t program, const lisp_call* call) {
  struct user* const user = data;
  printf("program %d asks %s\n", (int)program, lisp_call_text(call, NULL));
  user->waiting[user->waiting_count++] = program;
  return 0;
}

static int on_end(void* data, uint64_t program, const lisp_run* run) {
  struct user* const user = data;
  printf("program %d, %s: %s\n", (int)program, lisp_run_end_name(run), lisp_run_text(run, NULL));
  --user->open_count;
  return 0;
}

/* A turn of the event loop, which would wait for windows, too. */
static int turn(lisp_async_worker* worker) {
  struct pollfd waiting = {(int)lisp_async_worker_handle(worker), POLLIN, 0};
  poll(&waiting, 1, -1);
  return lisp_async_worker_process(worker);
}

int main(int count, char** arguments) {
  struct user user = {{0, 0}, 0, 0};
  const lisp_async_options options = {.size = sizeof options,
                                      .path = count > 1 ? arguments[1] : "/usr/bin/lisp_worker"};
  const lisp_program_options program = {
      .size = sizeof program, .on_call = on_call, .on_end = on_end, .user = &user};
  const char* const texts[] = {"(* 2 (GETDIST \"Width: \"))", "(GETDIST \"Length: \")", "(/ 1 0)"};
  lisp_async_worker* const worker = lisp_async_worker_new(&options, NULL);
  if (lisp_async_worker_start(worker) != 0) {
    fprintf(stderr, "%s\n", lisp_async_worker_fault(worker));
    lisp_async_worker_free(worker);
    return 1;
  }
  for (; user.open_count < 3; ++user.open_count) {
    lisp_async_worker_submit(worker, texts[user.open_count], LISP_TO_ZERO, &program, NULL);
  }
  while (user.open_count > 2) turn(worker);

  lisp_async_worker_cancel(worker, user.waiting[1]);
  while (user.open_count > 1) turn(worker);
  lisp_value* const width = lisp_value_number(20);
  lisp_async_worker_answer(worker, user.waiting[0], width);
  lisp_value_free(width);
  while (user.open_count > 0) turn(worker);
  lisp_async_worker_free(worker);
  return 0;
}
