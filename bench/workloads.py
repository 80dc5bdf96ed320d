"""The workloads of the peers' comparison and of the instruction counts, and the worker's frames.

A workload is a directory of bench/peers/. The worker runs setup.lsp once, if there is one, and
worker.lsp in every round. Those that are texts of a certain size have a unit there instead, which
is repeated to make the text.
"""

import random
import struct
from pathlib import Path

PEERS = Path(__file__).resolve().parent / "peers"

HEADER_SIZE = 64
EVAL_START, EVAL_RESUME = 7, 8
STATUS_OK, STATUS_HOST_CALL_PENDING = 0, 11

SMALL_FORM_COUNT = 5000  # Times five forms.
ENTITY_COUNT = 18395     # Just below 1 MiB, the most that a frame holds.
DOUBLE_COUNT = 51500     # Just below 1 MB.


def unit(workload, extension):
    return (PEERS / workload / f"unit.{extension}").read_text()


def doubles():
    """Doubles that need all of their 17 digits, the same in every run."""
    generator = random.Random(1)
    return ["%.17g" % generator.uniform(-1000, 1000) for _ in range(DOUBLE_COUNT)]


def text(workload, extension):
    """The text that a peer with files of this extension works on; empty if it needs none."""
    if workload == "small_forms":
        return unit(workload, extension) * SMALL_FORM_COUNT
    if workload == "reading":
        opening, closing = ("return {", "}") if extension == "lua" else ("(", ")")
        entity = unit(workload, "lua" if extension == "lua" else "lsp")
        return opening + entity * ENTITY_COUNT + closing
    if workload == "printing":
        if extension == "lua":
            return "return {" + ",\n".join(doubles()) + "}"
        return "(" + "\n".join(doubles()) + ")"
    return ""


def worker_texts(workload):
    """The worker's programs: the one that comes first, and the one of each round."""
    setup = PEERS / workload / "setup.lsp"
    if workload == "small_forms":
        return "", text(workload, "lsp")
    if workload == "reading":
        return "", f"(LENGTH '{text(workload, 'lsp')})"
    if workload == "printing":
        return f"(SETQ D '{text(workload, 'lsp')})", (PEERS / workload / "worker.lsp").read_text()
    return (setup.read_text() if setup.exists() else "",
            (PEERS / workload / "worker.lsp").read_text())


def frame(message_type, payload, run_id=0):
    """A request; docs/PROTOCOL.md has the fields."""
    payload = payload.encode()
    return struct.pack("<4sHHIIQQQ24x", b"KLSP", 3, message_type, len(payload), 0, 0, 0,
                       run_id) + payload


def responses(stream):
    """Status and payload of each response in the bytes of `stream`."""
    offset = 0
    while offset < len(stream):
        length, status = struct.unpack_from("<II", stream, offset + 8)
        offset += HEADER_SIZE
        yield status, stream[offset:offset + length]
        offset += length


def steps(payload):
    """The steps in the payload of an evaluation's response."""
    return struct.unpack_from("<Q", payload, 8)[0]
