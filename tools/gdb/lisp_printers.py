"""Shows the worker's values in gdb as the dialect writes them.

  gdb -x tools/gdb/lisp_printers.py build/debug/lisp_worker

Printers for LispValue and RawValue, Chunk, Symbol, Text, UserFunction and Environment, for pointers
to them as for themselves. They only read memory, so they work in a core file, too. Long values are
cut: `set print elements` says after how many elements, and lists are followed four deep.

A chunk of a form shows the name of its shape. The command `lisp-bindings` shows the resident
interpreter: the bindings in force of all names that the run has touched, and the trail, from the
binding that was shadowed last.
"""

import pathlib
import re

import gdb

LISP = pathlib.Path(__file__).resolve().parents[2] / "lisp"  # Known only while gdb reads this file.
NESTING_MAX = 4
LINKED = 0x80000000
NO_INDEX = 0xFFFFFFFF

# The states of a slot that are no values (lisp/value.h).
STATES = {5: "<unbound>", 6: "<not loaded>", 7: "<failed>"}


def limit():
    """How many elements of anything are shown."""
    return gdb.parameter("print elements") or 1 << 30


def lisp_type(name):
    return gdb.lookup_type("lisp::" + name)


def bytes_after(record):
    """The bytes that follow a Text or a Symbol in memory."""
    length = int(record["length"])
    shown = min(length, limit())
    start = int(record.address) + record.type.strip_typedefs().sizeof
    data = gdb.selected_inferior().read_memory(start, shown).tobytes() if shown else b""
    text = data.decode("latin-1").encode("unicode_escape").decode("ascii")
    return text + ("..." if shown < length else "")


def record_of(raw, name):
    return raw["record"].cast(lisp_type(name).pointer()).dereference()


def tail_of(chunk):
    """The tail of a linked chunk, and how many elements of the list follow in it."""
    link = (chunk.address.cast(lisp_type("ChunkLink").pointer()) - 1).dereference()
    return link["tail"], int(link["tail_length"])


def slots_of(chunk):
    return (chunk.address + 1).cast(lisp_type("RawValue").pointer())


def elements_of(chunk, remaining):
    """The elements of a list with so many, as raw values, from chunk to chunk."""
    while remaining > 0:
        full_length = int(chunk["full_length_and_flag"])
        tail, tail_length = tail_of(chunk) if full_length & LINKED else (None, 0)
        full_length &= ~LINKED
        slots = slots_of(chunk)
        while remaining > tail_length:
            yield slots[full_length - remaining]
            remaining -= 1
        if remaining > 0:
            chunk = tail.dereference()


def text_of(raw, depth=0):
    """A raw value as the dialect writes it."""
    head = int(raw["head"])
    tag, length = head & 0xFFFFFFFF, head >> 32
    if tag == 0:
        return "nil"
    if tag == 1:
        return f"{float(raw['number']):.17g}"
    if tag == 2:
        return '"' + bytes_after(record_of(raw, "Text")) + '"'
    if tag == 3:
        return bytes_after(record_of(raw, "Symbol"))
    if tag == 4:
        return list_text(record_of(raw, "Chunk"), length, depth)
    return STATES.get(tag, f"<tag {tag}>")


def list_text(chunk, length, depth=0):
    if depth == NESTING_MAX:
        return "(...)" if length else "()"
    words = []
    for element in elements_of(chunk, length):
        if len(words) == limit():
            words.append("...")
            break
        words.append(text_of(element, depth + 1))
    return "(" + " ".join(words) + ")"


def holders(record):
    count = int(record["references"])
    return f"{count} holder" + ("" if count == 1 else "s")


def shape_constants():
    """The shapes that have a constant of their own, by number, as lisp/list.h and form_shape.h say."""
    text = "".join((LISP / name).read_text(encoding="utf-8") for name in ("list.h", "form_shape.h"))
    found = re.findall(r"constexpr FormShape k(\w+?)Shapes? = (\d+);", text)
    return {int(number): name for name, number in found}


def shape_name(shape):
    """The name of a shape: "PlainCall", "Add of Variable and Number", "Car of Variable", "If"."""
    constants = shape_constants()
    first = max(constants)  # kOperationShapes
    if shape < first:
        return constants[shape]
    operations = [field.name.rsplit("::", 1)[-1] for field in lisp_type("Operation").fields()]
    operands = [field.name.rsplit("::", 1)[-1] for field in lisp_type("Operand").fields()]
    shape -= first
    if shape < operations.index("Unresolved"):
        return operations[shape]
    shape -= operations.index("Unresolved")
    numeric = operations[operations.index("Add"):operations.index("GreaterOrEqual") + 1]
    if shape < len(numeric) * len(operands) ** 2:
        pair, second = divmod(shape, len(operands))
        operation, kind = divmod(pair, len(operands))
        return f"{numeric[operation]} of {operands[kind]} and {operands[second]}"
    shape -= len(numeric) * len(operands) ** 2
    return operations[operations.index("Increment") + shape] + " of Variable"


class Printer:
    """What gdb asks for one value."""

    def __init__(self, value):
        self.value = value


class RawValuePrinter(Printer):
    def to_string(self):
        return text_of(self.value)


class LispValuePrinter(Printer):
    def to_string(self):
        return text_of(self.value["raw_"])


class ChunkPrinter(Printer):
    def to_string(self):
        chunk = self.value
        full_length = int(chunk["full_length_and_flag"])
        if int(chunk["references"]) == 0:
            return "chunk that waits in the graveyard"
        if not full_length & LINKED:
            front = int(chunk["front"])
            is_form = front & 3 == 2 and front >> 32 > 1  # It has a shape that it has got as a form.
            shape = f", shape {shape_name(front >> 32)}" if is_form else ""
            return f"flat chunk, {holders(chunk)}{shape}: {list_text(chunk, full_length)}"
        link = (chunk.address.cast(lisp_type("ChunkLink").pointer()) - 1).dereference()
        used, tail_length = int(link["front_length"]), int(link["tail_length"])
        slots = (full_length & ~LINKED) - tail_length
        return (f"linked chunk, {holders(chunk)}, {used - tail_length} of {slots} slots used, "
                f"{tail_length} elements in the tail: {list_text(chunk, used)}")


class TextPrinter(Printer):
    def to_string(self):
        return f'"{bytes_after(self.value)}", {holders(self.value)}'


class SymbolPrinter(Printer):
    def to_string(self):
        symbol = self.value
        operation = str(symbol["operation"]).rsplit("::", 1)[-1]
        text = f"{bytes_after(symbol)} = {text_of(symbol['value'])}, lists: {operation}"
        owner = int(symbol["owner"])
        if owner not in (0, 0xFFFFFFFF):
            text += f", bound by call {owner}"
        return text + f", {holders(symbol)}"


class UserFunctionPrinter(Printer):
    def to_string(self):
        return text_of(self.value["form_"]["raw_"])


class EnvironmentPrinter(Printer):
    """One child for each variable and each function, in the order of their places."""

    def to_string(self):
        return "environment"

    def display_hint(self):
        return "map"

    def children(self):
        for name, binding in entries_of(self.value["root_"]):
            if int(binding["value"]["head"]) & 0xFFFFFFFF != 5:
                yield name, name
                yield name + " value", text_of(binding["value"])
            if int(binding["function"]) != 0:
                yield name + " name", name + " function"
                yield name + " function", binding["function"].dereference()


def entries_of(node):
    """The names below a node of an environment, with their bindings."""
    if int(node) == 0:
        return
    if node.dereference()["is_leaf"]:
        leaf = node.cast(gdb.lookup_type("lisp::(anonymous namespace)::LeafNode").pointer())
        entries = leaf.dereference()["entries"]
        for i in range(entries.type.range()[1] + 1):
            if int(entries[i]["symbol"]) != 0:
                yield bytes_after(entries[i]["symbol"].dereference()), entries[i]["binding"]
        return
    inner = node.cast(gdb.lookup_type("lisp::(anonymous namespace)::InnerNode").pointer())
    children = inner.dereference()["children"]
    for i in range(children.type.range()[1] + 1):
        yield from entries_of(children[i])


PRINTERS = {
    "lisp::RawValue": RawValuePrinter,
    "lisp::LispValue": LispValuePrinter,
    "lisp::Chunk": ChunkPrinter,
    "lisp::Text": TextPrinter,
    "lisp::Symbol": SymbolPrinter,
    "lisp::UserFunction": UserFunctionPrinter,
    "lisp::Environment": EnvironmentPrinter,
}


def find_printer(value):
    plain = value.type.strip_typedefs().unqualified()
    if plain.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
        value = value.referenced_value()
        plain = value.type.strip_typedefs().unqualified()
    if plain.code == gdb.TYPE_CODE_PTR:
        target = plain.target().strip_typedefs().unqualified()
        if int(value) == 0 or target.name not in PRINTERS:
            return None
        return PRINTERS[target.name](value.dereference())
    printer = PRINTERS.get(plain.name)
    return printer(value) if printer else None


gdb.pretty_printers.append(find_printer)


def elements_of_vector(vector):
    first, end = vector["_M_impl"]["_M_start"], vector["_M_impl"]["_M_finish"]
    return [first[i] for i in range(int(end - first))]


def elements_of_stack(stack):
    """Those of a PlainStack, from the first."""
    element = stack.type.strip_typedefs().template_argument(0)
    # The memory is a unique_ptr, which is its pointer and nothing else.
    first = stack["memory_"].address.cast(element.pointer().pointer()).dereference()
    return [first[i] for i in range(int(stack["size_"]))]


def owner_text(owner):
    return "global" if owner == 0 else f"of call {owner}"


class ShowBindings(gdb.Command):
    """Shows the bindings in force and the trail of the resident interpreter."""

    def __init__(self):
        super().__init__("lisp-bindings", gdb.COMMAND_DATA)

    def invoke(self, _argument, _from_tty):
        bindings = gdb.parse_and_eval("lisp::Bindings::resident_")
        if int(bindings) == 0:
            print("no interpreter is resident")
            return
        bindings = bindings.dereference()
        print(f"in call {int(bindings['frame_'])}")
        for pointer in elements_of_vector(bindings["touched_"]):
            symbol = pointer.dereference()
            if int(symbol["value"]["head"]) & 0xFFFFFFFF < 5:
                print(f"{bytes_after(symbol)} = {text_of(symbol['value'])}, "
                      f"{owner_text(int(symbol['owner']))}")
        for shadowed in reversed(elements_of_stack(bindings["trail_"])):
            print(f"trail: {bytes_after(shadowed['symbol'].dereference())} was "
                  f"{text_of(shadowed['value'])}, {owner_text(int(shadowed['owner']))}")


ShowBindings()
