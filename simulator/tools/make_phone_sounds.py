#!/usr/bin/env python3
"""Puts sounds on the phones of a build, so that the sound lists have something to show and to play.

    make_phone_sounds.py PHONES...     the phones' folders in the build

Every wave file is a pure tone of its own: whoever hears it, or looks at it, knows which one it is. MIDI files hold one
note. Files called .mp3 and .wma are placeholders that no player takes: they are there for their names.
"""

import argparse
import math
import struct
from pathlib import Path

RATE, LENGTH = 8000, 0.3   # samples a second, 8 bits each; seconds

# Folder below root: {name: pitch in hertz, MIDI note, or nothing}. A phone gets what it has folders for.
SOUNDS = {
    "Windows": {"Alarm1.wav": 440, "Chime.wav": 523, "Default.wav": 587, "Notify.wma": None},
    "Windows/Rings": {"Ring1.wav": 659, "Ring2.wav": 698, "Polka.mid": 69, "Waltz.midi": 72},
    "My Documents/My Ringtones": {"Morning.mp3": None, "RING1.WAV": 784, "Vögel.wav": 880},
    "Storage Card": {"Card Tone.wav": 988},
    "SD Card": {"Second Card.wav": 1047},
}


def tone(pitch):
    """A wave file; it swells and fades, or it would begin and end with a click."""
    count = int(RATE * LENGTH)
    samples = bytes(round(128 + 100 * math.sin(math.pi * i / count) * math.sin(2 * math.pi * pitch * i / RATE))
                    for i in range(count))
    head = struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + count, b"WAVE", b"fmt ", 16, 1, 1, RATE, RATE, 1, 8, b"data",
                       count)
    return head + samples


def one_note(note):
    """A MIDI file of one track: the note for half a beat."""
    events = bytes([0, 0x90, note, 96, 48, 0x80, note, 0, 0, 0xFF, 0x2F, 0])
    return struct.pack(">4sIHHH4sI", b"MThd", 6, 0, 1, 96, b"MTrk", len(events)) + events


def content(name, pitch):
    if name.lower().endswith(".wav"):
        return tone(pitch)
    if pitch is not None:
        return one_note(pitch)
    return f"{name}: a placeholder, not a sound\r\n".encode()


def furnish(phone):
    for folder, sounds in SOUNDS.items():
        place = phone / "root" / folder
        if not place.is_dir():
            continue
        for name, pitch in sounds.items():
            wanted = content(name, pitch)
            if not (place / name).exists() or (place / name).read_bytes() != wanted:
                (place / name).write_bytes(wanted)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("phones", nargs="+", type=Path)
    for phone in parser.parse_args().phones:
        furnish(phone)


if __name__ == "__main__":
    main()
