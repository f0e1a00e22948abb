#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes expected results of the calibration arithmetic, worked out with exact rational numbers, to a file.

curve A B C ERROR NEW_B NEW_C   a power curve shifted by ERROR / 10, every operation rounded to single precision
code GAIN OLD NEW CUT           a code of the older chips' block scaled by GAIN dB; CUT 1 where 0xee limits it
"""
import random
import struct
import sys
from decimal import Decimal, getcontext
from fractions import Fraction

MANTISSA_BITS = 24
LIMIT = 0xEE


def single(exact):
    """The nearest single-precision number, ties to even; everything here is far from overflow and denormals."""
    if exact == 0:
        return exact
    size = abs(exact)
    exponent = size.numerator.bit_length() - size.denominator.bit_length()
    if size < Fraction(2) ** exponent:
        exponent -= 1
    step = Fraction(2) ** (exponent - MANTISSA_BITS + 1)
    return round(exact / step) * step  # round() of a Fraction takes the even neighbour on a tie


def rounded(value):
    """Half away from zero; the half is added in single precision too."""
    half = Fraction(1, 2)
    if value == 0:
        return 0
    return int(single(value + half)) if value > 0 else int(single(value - half))


def shifted(a, b, c, error):
    s = single(single(Fraction(error)) / 10)
    a, b, c = (Fraction(v) for v in (a, b, c))
    square_term = single(single(s * s) * single(a))
    line_term = single(single(64 * s) * single(b))
    new_c = single(single(single(single(65536 * c) + square_term) - line_term) / 65536)
    new_b = single(single(single(64 * b) - single(single(2 * s) * single(a))) / 64)
    return rounded(new_b), rounded(new_c)


def scaled(gain, code):
    """None where the result is too close to a rounding edge to be certain."""
    exact = 10 ** (Decimal(gain) / 20) * code + Decimal("0.5")
    if abs(exact - exact.to_integral_value()) < Decimal("1e-6"):
        return None
    return min(int(exact), LIMIT), int(int(exact) > LIMIT)


def curves():
    dice = random.Random(2442)
    errors = ["0", "10", "-10", "0.5", "-0.5", "0.1", "3", "-7", "12.345", "-99.9", "250", "499.9", "500", "-500"]
    edges = [0, 1, -1, 2, -2, 31, -32, 65535, 99999, -99999]
    for a in edges:
        for b in edges:
            yield a, b, dice.choice(edges), dice.choice(errors)
    # s (s a) in place of (s s) a would round these to another value.
    yield from ((90813, 0, -181, "415.52"), (49014, 0, -267, "430.10"), (-60117, 0, -287, "462.89"))
    for _ in range(1500):
        digits = dice.randint(1, 5)
        a, b, c = (dice.randint(1 - 10**digits, 10**digits - 1) for _ in range(3))
        yield a, b, c, dice.choice(errors + [f"{dice.uniform(-500, 500):.2f}"])


def main(path):
    getcontext().prec = 40
    for three in (0.1, 1 / 3, 16777217.0, -2.5e-7):  # the rounding itself, against the machine's own
        assert single(Fraction(three)) == Fraction(struct.unpack("f", struct.pack("f", three))[0])
    lines = [("curve", a, b, c, error, *shifted(a, b, c, error)) for a, b, c, error in curves()]
    for gain in ("1", "-1", "5", "-5", "0.25", "-0.5", "2.5", "-3.75"):
        results = ((code, scaled(gain, code)) for code in range(1, 256))
        lines += [("code", gain, code, *result) for code, result in results if result]
    with open(path, "w", encoding="ascii") as table:
        table.writelines(" ".join(map(str, line)) + "\n" for line in lines)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("calibration_oracle.py: give the file that gets the table")
    main(sys.argv[1])
