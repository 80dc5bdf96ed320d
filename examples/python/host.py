#!/usr/bin/env python3
"""A host in Python: runs a program in the LISP worker and answers its calls.

    host.py LIBRARY WORKER

LIBRARY is the client library (liblisp_worker_c.so), WORKER the worker's program. Everything
here is the C interface, described in its header lisp_worker.h.
"""

import ctypes
import sys

ANSWER = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p,
                          ctypes.c_char_p)

# The functions that we use: what they return, and what they take.
FUNCTIONS = {
    "lisp_worker_new": (ctypes.c_void_p, [ctypes.c_char_p, ctypes.c_uint32]),
    "lisp_worker_free": (None, [ctypes.c_void_p]),
    "lisp_worker_fault": (ctypes.c_char_p, [ctypes.c_void_p]),
    "lisp_worker_run": (ctypes.c_void_p, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_size_t,
                                          ctypes.c_uint64, ANSWER, ctypes.c_void_p]),
    "lisp_run_free": (None, [ctypes.c_void_p]),
    "lisp_run_end": (ctypes.c_int, [ctypes.c_void_p]),
    "lisp_run_text": (ctypes.c_char_p, [ctypes.c_void_p, ctypes.c_void_p]),
    "lisp_run_value": (ctypes.c_void_p, [ctypes.c_void_p]),
    "lisp_value_free": (None, [ctypes.c_void_p]),
    "lisp_value_kind": (ctypes.c_int, [ctypes.c_void_p]),
    "lisp_value_as_number": (ctypes.c_double, [ctypes.c_void_p]),
    "lisp_value_text": (ctypes.c_char_p, [ctypes.c_void_p, ctypes.c_void_p]),
    "lisp_value_count": (ctypes.c_size_t, [ctypes.c_void_p]),
    "lisp_value_element": (ctypes.c_void_p, [ctypes.c_void_p, ctypes.c_size_t]),
    "lisp_value_number": (ctypes.c_void_p, [ctypes.c_double]),
    "lisp_value_point": (ctypes.c_void_p, [ctypes.c_double] * 3),
}

NIL, NUMBER, STRING, SYMBOL, LIST = range(5)


def load(path):
    """The library with its functions declared."""
    library = ctypes.CDLL(path)
    for name, (result, arguments) in FUNCTIONS.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    return library


def to_python(library, value):
    """A value as Python has it: None, a float, a str, a tuple ("symbol", name) or a list."""
    kind = library.lisp_value_kind(value)
    if kind == NUMBER:
        return library.lisp_value_as_number(value)
    if kind == STRING:
        return library.lisp_value_text(value, None).decode()
    if kind == SYMBOL:
        return ("symbol", library.lisp_value_text(value, None).decode())
    if kind == LIST:
        elements = []
        for index in range(library.lisp_value_count(value)):
            element = library.lisp_value_element(value, index)
            elements.append(to_python(library, element))
            library.lisp_value_free(element)
        return elements
    return None


def main(library_path, worker_path):
    library = load(library_path)
    worker = library.lisp_worker_new(worker_path.encode(), 5000)

    def answer(_user, name, arguments, _text):
        print("call", name.decode(), to_python(library, arguments))
        if name == b"GETPOINT":
            return library.lisp_value_point(100, 50, 0)
        if name == b"GETDIST":
            return library.lisp_value_number(40)
        return None  # Cancels the program.

    program = b"""
        (SETQ CENTRE (GETPOINT "Centre: "))
        (SETQ RADIUS (GETDIST CENTRE "Radius: "))
        (LIST "top" (POLAR CENTRE (/ 3.141592653589793 2) RADIUS) 'DONE NIL)
    """
    run = library.lisp_worker_run(worker, program, len(program), 0, ANSWER(answer), None)
    if not run:
        sys.exit(library.lisp_worker_fault(worker).decode())
    print("text", library.lisp_run_text(run, None).decode())
    value = library.lisp_run_value(run)
    print("value", to_python(library, value))
    library.lisp_value_free(value)
    library.lisp_run_free(run)

    refused = library.lisp_worker_run(worker, b"(ENTGET 1)", 10, 0, ANSWER(answer), None)
    print("end", library.lisp_run_end(refused), library.lisp_run_text(refused, None).decode())
    library.lisp_run_free(refused)
    library.lisp_worker_free(worker)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2])
