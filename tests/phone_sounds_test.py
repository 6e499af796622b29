#!/usr/bin/env python3
"""Tests of make_phone_sounds.py: what the build puts on its phones can be played, told apart, and stays small."""

import sys
import tempfile
import unittest
import wave
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "simulator" / "tools"))

import make_phone_sounds  # noqa: E402

FOLDERS = ("Windows/Rings", "My Documents/My Ringtones", "Storage Card")


class Sounds(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.phone = Path(folder.name)
        for each in FOLDERS:
            (self.phone / "root" / each).mkdir(parents=True)
        make_phone_sounds.furnish(self.phone)
        self.files = sorted(path for path in self.phone.rglob("*") if path.is_file())

    def test_a_phone_has_a_dozen_small_files_in_the_folders_it_has(self):
        self.assertEqual(len(self.files), 12)
        self.assertLess(sum(path.stat().st_size for path in self.files), 30000)
        self.assertFalse((self.phone / "root" / "SD Card").exists())
        folders = {path.parent.relative_to(self.phone / "root").as_posix() for path in self.files}
        self.assertEqual(folders, {"Windows", *FOLDERS})

    def test_wave_files_hold_a_tone_of_their_own(self):
        tones = set()
        for path in self.files:
            if path.suffix.lower() == ".wav":
                with wave.open(str(path)) as sound:
                    self.assertEqual(sound.getparams()[:4], (1, 1, 8000, 2400))
                    samples = sound.readframes(2400)
                rising = sum(a < 128 <= b for a, b in zip(samples, samples[1:]))
                self.assertGreater(max(samples), 200)
                self.assertAlmostEqual(samples[-1], 128, delta=4)
                tones.add(rising)
        self.assertEqual(len(tones), 8)

    def test_midi_files_are_whole(self):
        files = [path for path in self.files if path.suffix in (".mid", ".midi")]
        self.assertEqual(len(files), 2)
        for path in files:
            data = path.read_bytes()
            self.assertEqual(data[:14], b"MThd\0\0\0\6\0\0\0\1\0\x60")
            self.assertEqual(data[14:18], b"MTrk")
            self.assertEqual(int.from_bytes(data[18:22], "big"), len(data) - 22)
            self.assertEqual(data[-4:], b"\0\xff\x2f\0")

    def test_a_second_run_writes_only_what_is_missing_or_different(self):
        same, missing, changed = self.files[:3]
        before = same.stat().st_mtime_ns
        contents = [path.read_bytes() for path in (missing, changed)]
        missing.unlink()
        changed.write_bytes(b"other")
        make_phone_sounds.furnish(self.phone)
        self.assertEqual(same.stat().st_mtime_ns, before)
        self.assertEqual([path.read_bytes() for path in (missing, changed)], contents)


if __name__ == "__main__":
    unittest.main()
