#!/usr/bin/env python3
"""A host in Python with asyncio: several programs at once, none of which anybody waits for.

    async_host.py LIBRARY WORKER

LIBRARY is the client library (liblisp_worker_c.so), WORKER the worker's program. Everything here is
the C interface, described in its header lisp_async_worker.h.
"""

import asyncio
import ctypes
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, byref, c_char_p, c_double, c_int, c_size_t
from ctypes import c_ssize_t, c_uint64, c_void_p, sizeof

ON_FAULT = CFUNCTYPE(c_int, c_void_p, c_void_p)
ON_CALL = CFUNCTYPE(c_int, c_void_p, c_uint64, c_void_p)
ON_END = CFUNCTYPE(c_int, c_void_p, c_uint64, c_void_p)


class Options(Structure):
    _fields_ = [("size", c_size_t), ("path", c_char_p), ("path_size", c_size_t),
                ("recorder", c_void_p), ("observer", c_void_p), ("on_fault", ON_FAULT),
                ("user", c_void_p), ("time_limit_ms", c_uint64)]


class ProgramOptions(Structure):
    _fields_ = [("size", c_size_t), ("context_id", c_uint64), ("host_call_count_max", c_uint64),
                ("time_limit_ms", c_uint64), ("on_call", ON_CALL), ("on_end", ON_END),
                ("user", c_void_p)]


# The functions that we use: what they return, and what they take.
FUNCTIONS = {
    "lisp_async_worker_new": (c_void_p, [POINTER(Options), POINTER(c_char_p)]),
    "lisp_async_worker_free": (None, [c_void_p]),
    "lisp_async_worker_start": (c_int, [c_void_p]),
    "lisp_async_worker_handle": (c_ssize_t, [c_void_p]),
    "lisp_async_worker_process": (c_int, [c_void_p]),
    "lisp_async_worker_submit": (c_uint64, [c_void_p, c_char_p, c_size_t, POINTER(ProgramOptions),
                                            POINTER(c_char_p)]),
    "lisp_async_worker_answer": (c_int, [c_void_p, c_uint64, c_void_p]),
    "lisp_async_worker_cancel": (None, [c_void_p, c_uint64]),
    "lisp_async_worker_fault": (c_char_p, [c_void_p]),
    "lisp_call_text": (c_char_p, [c_void_p, c_void_p]),
    "lisp_run_end_name": (c_char_p, [c_void_p]),
    "lisp_run_text": (c_char_p, [c_void_p, c_void_p]),
    "lisp_value_number": (c_void_p, [c_double]),
    "lisp_value_free": (None, [c_void_p]),
}


class Worker:
    """A worker whose programs are awaited."""

    def __init__(self, library_path, worker_path, perform):
        self.library = ctypes.CDLL(library_path)
        for name, (result, arguments) in FUNCTIONS.items():
            function = getattr(self.library, name)
            function.restype, function.argtypes = result, arguments
        self.perform, self.programs = perform, {}
        # The library keeps the functions, so they must stay.
        self.on_call, self.on_end = ON_CALL(self._called), ON_END(self._ended)
        options = Options(size=sizeof(Options), path=worker_path.encode())
        self.worker = self.library.lisp_async_worker_new(byref(options), None)
        if self.library.lisp_async_worker_start(self.worker) != 0:
            sys.exit(self.library.lisp_async_worker_fault(self.worker).decode())
        self.handle = self.library.lisp_async_worker_handle(self.worker)
        asyncio.get_running_loop().add_reader(
            self.handle, lambda: self.library.lisp_async_worker_process(self.worker))

    def close(self):
        asyncio.get_running_loop().remove_reader(self.handle)
        self.library.lisp_async_worker_free(self.worker)

    def submit(self, text):
        """The number of a program, and the future of its end and text."""
        options = ProgramOptions(size=sizeof(ProgramOptions), on_call=self.on_call,
                                 on_end=self.on_end)
        program = self.library.lisp_async_worker_submit(self.worker, text, len(text),
                                                        byref(options), None)
        self.programs[program] = asyncio.get_running_loop().create_future()
        return program, self.programs[program]

    def cancel(self, program):
        self.library.lisp_async_worker_cancel(self.worker, program)

    def _called(self, _user, program, call):
        question = self.library.lisp_call_text(call, None).decode()
        asyncio.ensure_future(self._answer(program, question))
        return 0

    async def _answer(self, program, question):
        number = self.library.lisp_value_number(await self.perform(program, question))
        self.library.lisp_async_worker_answer(self.worker, program, number)
        self.library.lisp_value_free(number)

    def _ended(self, _user, program, run):
        self.programs.pop(program).set_result(
            (self.library.lisp_run_end_name(run).decode(),
             self.library.lisp_run_text(run, None).decode()))
        return 0


async def main(library_path, worker_path):
    asked = asyncio.Queue()
    answers = asyncio.Queue()

    async def perform(program, question):
        asked.put_nowait((program, question))
        return await answers.get()

    worker = Worker(library_path, worker_path, perform)
    _, width = worker.submit(b'(* 2 (GETDIST "Width: "))')
    unwanted, length = worker.submit(b'(GETDIST "Length: ")')
    _, failing = worker.submit(b"(/ 1 0)")
    print(await failing)
    print(sorted([await asked.get(), await asked.get()]))
    worker.cancel(unwanted)
    print(await length)
    answers.put_nowait(20)
    print(await width)
    worker.close()


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    asyncio.run(main(sys.argv[1], sys.argv[2]))
