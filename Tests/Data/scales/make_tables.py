#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Works out the key tables of tables.txt from the .scl and .kbm files beside this script.

Every pitch is worked out twice: with forty decimal digits, which the table of the player must meet to a small fraction of
a cent, and in steps rounded to single precision where the player rounds, which it must meet exactly. Nothing is shared
with the player's code; the periods between keys are counted in closed form. Each line of a table holds both pitches, in
semitones, and the midic. Run this after adding a pair and look at the difference before committing it.
"""
import re
import struct
from decimal import Decimal, getcontext
from fractions import Fraction
from math import ceil
from pathlib import Path

getcontext().prec = 40
HERE = Path(__file__).parent
PAIRS = """
- -                                  first-fifth-decimal -          first-ratio -
- middle-c                           equal-5 identity-5             equal-19 identity-19
equal-24 identity-24                 equal-31 identity-31           just-12 -
just-12 middle-c                     just-12 seven-of-twelve        just-12 reference-432
just-12 reference-60.7               just-12 two-rows               just-12 middle-61
pythagorean middle-c                 pythagorean middle-127         pythagorean middle-negative
pythagorean middle-200               just-7 identity-7              just-7 white-keys
just-7 comments                      just-7 crlf                    crlf crlf
crlf identity-7                      comments identity-7            harmonics-8 identity-8
thirteen-tritave identity-13         equal-tritave identity-13      nine-to-fifth identity-9
descending middle-c                  descending-ratios identity-8   zigzag identity-6
zigzag negative-degrees              just-12 negative-degrees       single-fifth size-1
single-fifth size-1-up               single-third-tone size-1       extra extra-keys
odd-numbers identity-8               hundreds middle-c              linear-20 unmapped
linear-20 unmapped-low               just-12 piano                  just-12 one-octave
just-12 outside-reference            just-12 no-keys                just-12 past-127
just-12 upper-half                   equal-24 seven-of-twelve       equal-31 low-reference
equal-19 low-reference
"""
DEFAULT_SCALE = [f"{step}.000000" for step in range(1, 13)]
DEFAULT_MAPPING = [12, 0, 127, 0, 69, "440", "12", *range(12)]


def single(number):
    """The nearest number of single precision, as an exact fraction."""
    return Fraction(struct.unpack("f", struct.pack("f", float(Fraction(number))))[0])


def number(text):
    found = re.match(r"\s*([+-]?(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)", text)
    return Fraction(found[1]) if found else Fraction(0)


def whole(text):
    found = re.match(r"\s*([+-]?\d+)", text)
    return int(found[1]) if found else 0


def entries(name):
    text = (HERE / name).read_bytes().decode()
    return [line for line in text.split("\n") if line and line[0] != "!"]


class Exact:
    """Forty decimal digits."""

    def round(self, value):
        return value

    def semitones(self, ratio, scale):
        return Fraction(Decimal(12) * (dec(abs(ratio)).ln() / Decimal(2).ln())) + scale

    def there_and_back(self, pitch, reference, frequency):
        return pitch


class Single:
    """Rounded like the player's numbers: single precision but for logarithm and power."""

    def round(self, value):
        return single(value)

    def semitones(self, ratio, scale):
        nepers = Fraction(float(dec(abs(ratio)).ln()))
        return single(float(nepers * Fraction(17.312340490667562) + scale))

    def there_and_back(self, pitch, reference, frequency):
        octaves = single(single(pitch - reference) / 12)
        hertz = single(float(frequency) * float(Decimal(2) ** dec(octaves)))
        return self.semitones(single(hertz / frequency), reference)


def dec(fraction):
    return Decimal(fraction.numerator) / Decimal(fraction.denominator)


class Table:
    def __init__(self, scale, mapping, arithmetic):
        self.scale, self.arithmetic = scale, arithmetic
        self.size, self.first, self.last, self.middle = mapping[:4]
        self.reference = int(number(str(mapping[4])))
        self.frequency = arithmetic.round(number(mapping[5]))
        self.is_mapped = number(mapping[6]) != 0
        self.degrees = mapping[7:]

    def interval(self, text):
        rounded = self.arithmetic.round
        if "." in text:
            return rounded(number(text))
        above, below = (rounded(number(part)) for part in text.split("/")[:2])
        ratio = rounded(rounded(above / (below or 1)) * 440)
        return rounded(self.arithmetic.semitones(rounded(ratio / self.frequency), self.reference) - 69)

    def degree(self, key):
        return self.degrees[(key - self.middle) % self.size] if self.is_mapped else key

    def periods(self, key):
        """Whole periods above the one that ends at the middle key; a mapping of one key counts one more upward."""
        steps = key - self.middle
        if steps <= 0:
            return -(-steps // self.size)
        return steps if self.size == 1 else ceil(steps / self.size) - 1

    def pitch(self, key):
        rounded = self.arithmetic.round
        scale, steps = self.scale, key - self.middle
        degree = self.degree(key)
        interval = self.interval(scale[degree - 1] if degree >= 1 else scale[len(scale) + degree - 1])
        period = self.interval(scale[-1])
        offset = rounded(period * self.periods(key))
        if steps <= 0:
            offset = rounded(offset - period)
        base = int(self.middle / self.size)
        if self.middle > 0 and self.middle % self.size:
            base += 1
        return rounded(rounded(interval + base * len(scale)) + offset)

    def build(self):
        rounded = self.arithmetic.round
        table = {key: Fraction(key) for key in range(127)}
        retuned = range(self.first, self.last + 1)
        table.update({key: self.pitch(key) for key in retuned})
        returned = self.arithmetic.there_and_back(table[self.reference], self.reference, self.frequency)
        shift = rounded(self.reference - returned)
        table.update({key: rounded(shift + table[key]) for key in retuned})
        return table


def read_scale(name):
    lines = DEFAULT_SCALE if name == "-" else entries(name + ".scl")[1:]
    return lines if name == "-" else lines[1 : 1 + whole(lines[0])]


def read_mapping(name):
    if name == "-":
        return DEFAULT_MAPPING
    lines = entries(name + ".kbm")
    return [*map(whole, lines[:4]), *lines[4:7], *map(whole, lines[7:])]


def write_pair(out, scale, mapping):
    exact = Table(read_scale(scale), read_mapping(mapping), Exact()).build()
    rounded = Table(read_scale(scale), read_mapping(mapping), Single()).build()
    out.write(f"{scale} {mapping} {len(exact)}\n")
    for key in sorted(exact):
        midic = max(0, int(single(rounded[key] * 100)))
        out.write(f"{dec(exact[key]):.6f} {float(rounded[key]):.9g} {midic}\n")
    return max(abs(float(exact[key] - rounded[key])) / max(128, abs(float(exact[key]))) for key in exact)


def main():
    words = PAIRS.split()
    with open(HERE / "tables.txt", "w") as out:
        worst = max(write_pair(out, *pair) for pair in zip(words[::2], words[1::2]))
    print(f"{len(words) // 2} pairs, rounding moves a pitch by at most {worst:.2e} of itself or of 128 semitones")


main()
