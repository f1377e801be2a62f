"""Mends the type library that widl writes."""
import re, uuid

def library_id(idl):
    return uuid.UUID(re.search(r"uuid\(([0-9A-Fa-f-]{36})\)[^\]]*\]\s*library", idl).group(1))

def read_help_strings(text):
    return dict(line.split("=", 1) for line in text.splitlines() if line)

def mend(raw, library, help_strings):
    return raw
