#!/usr/bin/env python3
"""Compiles the interface description into header, identifiers and type library.

usage: make_typelib.py OUTPUT-FOLDER IDL HELP-STRINGS -- WIDL OPTION...

Writes NAME.h, NAME_i.c and NAME.tlb into the folder and mends what widl does wrong in the library.
Whatever widl says beyond the two warnings that the mending answers is an error.
"""

import pathlib
import subprocess
import sys

import mend_typelib

# Said when a dispinterface precedes the first interface derived from IDispatch.
KNOWN_WARNINGS = {
    "warning: duplicate uuid {00020430-0000-0000-c000-000000000046}",
    "warning: duplicate uuid {00020400-0000-0000-c000-000000000046}",
}


def run_widl(widl, kind, idl, output):
    """Lets widl write one of its outputs."""
    # Where it lies would stand in the header.
    run = subprocess.run([*widl, kind, "-o", str(output.resolve()), idl.name], cwd=idl.parent,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    # The warnings do not all end in a line break.
    said = [line for line in run.stdout.replace("warning:", "\nwarning:").splitlines() if line]
    if run.returncode != 0 or not KNOWN_WARNINGS.issuperset(said):
        sys.exit(f"widl {kind} {idl.name} ended with {run.returncode} and said:\n{run.stdout}")


def main():
    folder, idl, help_strings = map(pathlib.Path, sys.argv[1:4])
    if sys.argv[4] != "--":
        sys.exit(__doc__)
    widl = sys.argv[5:]
    name = idl.stem
    run_widl(widl, "-h", idl, folder / f"{name}.h")
    run_widl(widl, "-u", idl, folder / f"{name}_i.c")
    raw = folder / f"{name}.raw.tlb"
    run_widl(widl, "-t", idl, raw)
    mended = mend_typelib.mend(raw.read_bytes(), mend_typelib.library_id(idl.read_text()),
                               mend_typelib.read_help_strings(help_strings.read_text()))
    (folder / f"{name}.tlb").write_bytes(mended)


if __name__ == "__main__":
    main()
