"""Mends the type library that widl 7 writes when a dispinterface is its first type.

Two faults, one thing that widl cannot do, and one that it should not:

 - the second import of IDispatch gets no identifier (its offset is -1), and
 - through that same offset the last byte of the library's own identifier is overwritten;
 - the members of an enumeration cannot have help strings;
 - the library tells when it was made, so that no two are the same.

A library is a header, a directory of 15 segments, the segments one after the other, and then for
each type that has members a block that describes them. Numbers are 32 bits, little-endian.
"""

import re
import struct
import uuid

MAGIC = 0x5446534D  # "MSFT"
HEADER_SIZE = 0x54
HAS_HELP_DLL = 0x100
SEGMENT_COUNT = 15
TYPES, IMPORTS, GUIDS, NAMES, STRINGS, CUSTOM_DATA = 0, 1, 5, 7, 8, 11
TYPE_SIZE, IMPORT_SIZE, GUID_SIZE = 100, 12, 24
TYPE_IS_ENUMERATION = 0
BARE_MEMBER_SIZE = 20
VT_UI4 = 19
NO_OFFSET = -1
IDISPATCH = uuid.UUID("00020400-0000-0000-c000-000000000046")


class UnexpectedLayout(Exception):
    """The library is not built as this module assumes."""


def expect(condition, what):
    if not condition:
        raise UnexpectedLayout(what)


def number(data, offset):
    return struct.unpack_from("<i", data, offset)[0]


def put_number(data, offset, value):
    struct.pack_into("<i", data, offset, value)


def numbers(data, offset, count):
    return list(struct.unpack_from(f"<{count}i", data, offset))


class TypeLibrary:
    """A library taken apart: `head`, `segments` by their number, `members` by the type's number."""

    def __init__(self, raw):
        expect(number(raw, 0) == MAGIC, "not a type library")
        self.type_count = number(raw, 0x20)
        has_help_dll = number(raw, 0x14) & HAS_HELP_DLL
        self.directory = HEADER_SIZE + (4 if has_help_dll else 0) + 4 * self.type_count
        self.head = bytearray(raw[:self.directory + 16 * SEGMENT_COUNT])
        self.segments = {}
        for index, (start, size) in sorted(self._places().items(), key=lambda place: place[1]):
            expect(start == self._end(), "the segments do not follow one another")
            self.segments[index] = bytearray(raw[start:start + size])
        self.members = self._split_members(raw)

    def _places(self):
        places = {i: tuple(numbers(self.head, self.directory + 16 * i, 2))
                  for i in range(SEGMENT_COUNT)}
        return {i: (start, size) for i, (start, size) in places.items() if start != NO_OFFSET}

    def _end(self):
        return len(self.head) + sum(map(len, self.segments.values()))

    def _type_field(self, index, offset):
        return number(self.segments[TYPES], TYPE_SIZE * index + offset)

    def member_count(self, index):
        """Functions in the lower half, variables and constants in the upper."""
        return self._type_field(index, 24)

    def is_enumeration(self, index):
        return self._type_field(index, 0) & 0xF == TYPE_IS_ENUMERATION

    def _split_members(self, raw):
        # A class counts the interfaces that it implements as members, but has no block.
        starts = [self._type_field(i, 4) for i in range(self.type_count)] + [len(raw)]
        expect(starts == sorted(starts) and starts[0] == self._end(),
               "the members do not follow the segments in the order of the types")
        return [bytearray(raw[start:end]) for start, end in zip(starts, starts[1:])]

    def name(self, offset):
        length = number(self.segments[NAMES], offset + 8) & 0xFF
        return self.segments[NAMES][offset + 12:offset + 12 + length].decode("latin-1")

    def add_string(self, text):
        """Appends a string to those of the library; its offset among them."""
        offset = len(self.segments[STRINGS])
        entry = struct.pack("<H", len(text)) + text.encode("latin-1")
        padded = max(8, -(-len(entry) // 4) * 4)
        self.segments[STRINGS] += entry.ljust(padded, b"W")
        return offset

    def written(self):
        """The library as a file, with every offset as the sizes now are."""
        position = len(self.head)
        for index, segment in self.segments.items():
            put_number(self.head, self.directory + 16 * index, position)
            put_number(self.head, self.directory + 16 * index + 4, len(segment))
            position += len(segment)
        for index, block in enumerate(self.members):
            put_number(self.segments[TYPES], TYPE_SIZE * index + 4, position)
            position += len(block)
        return b"".join([self.head, *self.segments.values(), *self.members])


def mend_imports(library):
    """Gives every import of IDispatch its identifier."""
    guids, imports = library.segments[GUIDS], library.segments[IMPORTS]
    dispatch = [i for i in range(0, len(guids), GUID_SIZE) if guids[i:i + 16] == IDISPATCH.bytes_le]
    expect(len(dispatch) == 1, "IDispatch is not known exactly once")
    for offset in range(0, len(imports), IMPORT_SIZE):
        if number(imports, offset + 8) == NO_OFFSET:
            put_number(imports, offset + 8, dispatch[0])


def mend_library_id(library, identifier):
    offset = number(library.head, 8)
    expect(library.segments[GUIDS][offset:offset + 15] == identifier.bytes_le[:15],
           "the library's identifier is not where it belongs")
    library.segments[GUIDS][offset:offset + 16] = identifier.bytes_le


def forget_time(library):
    """Puts the beginning of all times in the place of the present one: as a text, and as the number
    behind it."""
    text = rb"( at )\w{3} \w{3} [ \d]\d [\d:]{8} \d{4}"
    number_behind = rb"(\nW*" + re.escape(struct.pack("<H", VT_UI4)) + rb").{4}"
    forgotten, count = re.subn(text + number_behind, rb"\1Thu Jan  1 00:00:00 1970\2" + bytes(4),
                               library.segments[CUSTOM_DATA], flags=re.DOTALL)
    expect(count == 1, "the time is not where it belongs")
    library.segments[CUSTOM_DATA] = bytearray(forgotten)


def with_help_strings(library, block, count, help_strings):
    """The block of an enumeration, each member with its help string, which is taken out of the
    dictionary."""
    after_records = 4 + number(block, 0)
    ids, names, places = (numbers(block, after_records + 4 * count * i, count) for i in range(3))
    records, new_places = bytearray(), []
    for name, place in zip(names, places):
        info = number(block, 4 + place)
        expect(info & 0xFFFF == BARE_MEMBER_SIZE, "a member has more than its value already")
        record = bytearray(block[4 + place:4 + place + BARE_MEMBER_SIZE])
        help_context, help_string = 0, library.add_string(help_strings.pop(library.name(name)))
        record += struct.pack("<ii", help_context, help_string)
        put_number(record, 0, (info & ~0xFFFF) | len(record))
        new_places.append(len(records))
        records += record
    return (bytearray(struct.pack("<i", len(records))) + records +
            struct.pack(f"<{3 * count}i", *ids, *names, *new_places))


def add_help_strings(library, help_strings):
    unused = dict(help_strings)
    for index in filter(library.is_enumeration, range(library.type_count)):
        count = library.member_count(index) >> 16
        library.members[index] = with_help_strings(library, library.members[index], count, unused)
    expect(not unused, f"no such members: {', '.join(unused)}")


def library_id(idl):
    """The identifier that the interface description gives the library."""
    return uuid.UUID(re.search(r"uuid\(([\w-]{36})\)[^\]]*\]\s*library\b", idl).group(1))


def read_help_strings(text):
    """Lines NAME=HELP STRING as a dictionary."""
    return dict(line.split("=", 1) for line in text.splitlines())


def mend(raw, identifier, help_strings):
    """The mended library, from what widl wrote."""
    library = TypeLibrary(raw)
    expect(library.written() == raw, "a library put together again differs")
    mend_imports(library)
    mend_library_id(library, identifier)
    add_help_strings(library, help_strings)
    forget_time(library)
    return library.written()
