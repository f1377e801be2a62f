# What the builds may write differently. "What the two builds write differently" in docs/messages.md
# tells of each rule, with an example.

import re
from itertools import zip_longest

LINE = re.compile(r'^(\S+ -?\d+) "(.*)"$')
MARKUP = re.compile(r'(<!\[CDATA\[.*?\]\]>|<!--.*?-->|<\?.*?\?>|<(?:[^<>"]|"[^"]*")*>)', re.DOTALL)
ATTRIBUTE = re.compile(r' [^\s="]+="[^"]*"')
PREFIX = re.compile(r' (xmlns:[^="]+)="([^"]*)"')
CREATED = re.compile(r'<TLK_Message Length="\d+" xmlns="[^"]*" Type=')
STAMP = re.compile(r'(?<= Length=")(?!0{7})\d{7}(?=")')


# The first lines of two answers that differ by more than the rules allow, or None.
def first_difference(native, windows):
    before = ""
    for lines in zip_longest(native, windows, fillvalue="(nothing)"):
        if lines[0] != lines[1] and not alike(before, *lines):
            return lines
        before = lines[0]
    return None


def alike(before, native, windows):
    lines = LINE.match(native), LINE.match(windows)
    if None in lines or lines[0][1] != lines[1][1]:
        return False
    texts = [unquoted(line[2]) for line in lines]
    if not texts[0].startswith("<"):
        # Where blanks stand in the text of a node, xml tells; a stamp may be one.
        return lines[0][1].startswith("node") and any(
            re.sub(left_out, "", texts[0]) == re.sub(left_out, "", texts[1])
            for left_out in ("[ \t\r\n]", r"^\d{7}$"))
    parts = [MARKUP.split(text) for text in texts]
    # The indentation, and the line breaks in texts.
    parts[1][::2] = ["" if re.fullmatch(r"\r\n\t*", part) else part.replace("\r\n", "\n")
                     for part in parts[1][::2]]
    kept = list(map(settled, parts))
    # The stamp counts what was taken away. One that is not of this text cannot be told by it.
    is_fresh = before == "set-length 0"
    kept = [STAMP.sub(lambda stamp: str(int(stamp[0]) - len(text) + len(one)) if is_fresh else "",
                      one, count=1) for text, one in zip(texts, kept)]
    return kept[0] == kept[1]


# Texts and markup as one text, where no prefix is declared again as what it stands for.
def settled(parts):
    scopes = [{}]
    for at, tag in enumerate(parts):
        if at % 2 == 0 or tag[1] in "!?":
            continue
        if tag[1] == "/":
            scopes.pop()
            continue
        declared = dict(PREFIX.findall(tag))
        for prefix, uri in declared.items():
            if scopes[-1].get(prefix) == uri:
                tag = tag.replace(f' {prefix}="{uri}"', "", 1)
        parts[at] = declarations_first(tag)
        if not tag.endswith("/>"):
            scopes.append({**scopes[-1], **declared})
    return "".join(parts)


# Windows writes so what it has loaded; never the root of a message that was created.
def declarations_first(tag):
    if CREATED.match(tag):
        return tag
    attributes = ATTRIBUTE.findall(tag)
    declarations = sorted(one for one in attributes if one.startswith(" xmlns"))
    ordered = declarations + [one for one in attributes if one not in declarations]
    return tag.replace("".join(attributes), "".join(ordered))


def unquoted(text):
    return re.sub(r"\\(?:x(..)|(.))", lambda one: one[2] or chr(int(one[1], 16)), text)
