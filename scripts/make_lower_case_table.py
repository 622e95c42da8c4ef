#!/usr/bin/env python3
"""Writes the table of Unicode simple lower-case mappings that zr::toLowerCase goes through.

    python3.13 scripts/make_lower_case_table.py > Projects/Core/src/zr/text/LowerCaseTable.inc

The standard library offers the full mappings only. For a single character they differ from the simple ones just where
they give more than one character; the simple mapping is then the first of these (U+0130 gives "i").
"""

import unicodedata


def simple_lower(code: int) -> int:
    return ord(chr(code).lower()[0])


def ranges() -> list[list[int]]:
    """[first, last, step, delta]: runs of characters one or two apart that move by the same distance."""
    runs: list[list[int]] = []
    for code in range(0x110000):
        delta = simple_lower(code) - code
        if delta == 0:
            continue
        if runs and runs[-1][3] == delta:
            run = runs[-1]
            gap = code - run[1]
            if gap in (1, 2) and (run[0] == run[1] or gap == run[2]):
                run[1], run[2] = code, gap
                continue
        runs.append([code, code, 1, delta])
    return runs


def main() -> None:
    print(f"// Unicode {unicodedata.unidata_version}; made by scripts/make_lower_case_table.py.")
    for first, last, step, delta in ranges():
        print(f"{{0x{first:04X}, 0x{last:04X}, {step}, {delta}}},")


if __name__ == "__main__":
    main()
