#!/usr/bin/env python3
"""Prints the instances in the registry, one a line. Only reads; see docs/registry.md."""
import struct
import sys

PATH = "/dev/shm/td_spectral_registry"
SIZE, VERSION, MAGIC = 86080, 10, 0x54445247
FIRST_SLOT, SLOT_BYTES, SLOTS = 56, 5376, 16


def field(slot, form, offset):
    values = struct.unpack_from("=" + form, slot, offset)
    return values if len(values) > 1 else values[0]


def name_of(slot):
    return slot[16:80].split(b"\0")[0].decode(errors="replace")


def describe(slot, slots):
    peer = field(slot, "Q", 8)
    names = [name_of(other) for other in slots if field(other, "Q", 0) == peer]
    count = min(max(field(slot, "i", 120), 0), 3)
    bands = [field(slot, "4fB", 136 + 20 * band) for band in range(count)]
    return (f"{name_of(slot)}: peer {names[0] if peer and names else '-'}"
            f"{', bypassed' if slot[240] else ''}{', ducks' if slot[241] else ', keeps its level'}"
            + "".join(f"; {lo:.0f} to {hi:.0f} Hz "
                      + (f"above {threshold:.1f} dB {ratio:.1f}:1" if enabled else "off")
                      for lo, hi, threshold, ratio, enabled in bands))


def main():
    try:
        with open(sys.argv[1] if len(sys.argv) > 1 else PATH, "rb") as file:
            segment = file.read()
    except FileNotFoundError:
        sys.exit("no registry")
    if len(segment) != SIZE or field(segment, "I", 86072) != MAGIC \
            or field(segment, "I", 0) != VERSION:
        sys.exit("not a registry of this version")
    slots = [segment[at:at + SLOT_BYTES]
             for at in range(FIRST_SLOT, FIRST_SLOT + SLOTS * SLOT_BYTES, SLOT_BYTES)]
    slots = [slot for slot in slots if slot[80] & 1]
    for slot in slots:
        print(describe(slot, slots))


main()
