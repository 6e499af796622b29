#!/usr/bin/env python3
"""Listens to previews: what the program plays has to come out of the loudspeakers, at its pitch and at its volume.

A sound server of the test's own (pulseaudio, Debian package of that name) with a sink that goes nowhere stands for the
loudspeakers, and parec records what arrives there. No sound device, display or running sound server is needed.
"""

import array
import math
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from phone_copy import RUN_WINE, SIMULATOR, TREE, PhoneCopy

RATE = 8000             # of the recording, samples a second
WINDOW = RATE // 20     # samples that are judged together
AUDIBLE = 300           # mean amplitude from which a window counts as sound; the tones have about 10000
LOUDNESS = 16000        # of the tones
PATIENCE = 60           # seconds

LOW, HIGH = 500, 900    # hertz
TONE_LENGTH = 1.0       # seconds


def tone(pitch, rate=22050):
    """A wave file of two channels, 16 bits each."""
    samples = array.array("h")
    for i in range(int(rate * TONE_LENGTH)):
        value = int(LOUDNESS * math.sin(2 * math.pi * pitch * i / rate))
        samples.extend((value, value))
    data = samples.tobytes()
    return struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + len(data), b"WAVE", b"fmt ", 16, 1, 2, rate, rate * 4, 4, 16,
                       b"data", len(data)) + data


class SoundServer:
    """A pulseaudio of our own, ended with the with statement."""

    def __init__(self, folder):
        self.socket = folder / "socket"
        self.environment = dict(os.environ, HOME=str(folder), XDG_RUNTIME_DIR=str(folder), PULSE_RUNTIME_PATH=str(folder),
                                PULSE_STATE_PATH=str(folder), PULSE_SERVER=f"unix:{self.socket}")
        self.log = open(folder / "log.txt", "w+", encoding="utf-8", errors="replace")
        self.process = None

    def __enter__(self):
        self.process = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1", "--disable-shm=yes",
             "--load=module-null-sink sink_name=phone rate=44100",
             f"--load=module-native-protocol-unix socket={self.socket} auth-anonymous=1"],
            env={key: value for key, value in self.environment.items() if key != "PULSE_SERVER"},
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)
        try:
            wait_for(self.answers, "the sound server does not start")
        except AssertionError:
            self.log.seek(0)
            print(self.log.read(), file=sys.stderr)
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        end(self.process)
        self.log.close()

    def answers(self):
        assert self.process.poll() is None, "the sound server has ended"
        return subprocess.run(["pactl", "info"], env=self.environment, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False).returncode == 0


def end(process):
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def wait_for(condition, complaint):
    limit = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < limit, complaint
        time.sleep(0.05)


class Recording:
    """What arrives at the loudspeakers during the with statement."""

    def __init__(self, server, file):
        self.server, self.file = server, file
        self.process = None
        self.left, self.right = [], []

    def __enter__(self):
        self.process = subprocess.Popen(
            ["parec", "--device=phone.monitor", "--format=s16le", f"--rate={RATE}", "--channels=2", "--latency-msec=20",
             str(self.file)], env=self.server.environment, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(self.size, "nothing is recorded")
        return self

    def __exit__(self, *_):
        heard = self.size()
        # What was played last is on its way for a moment.
        wait_for(lambda: self.size() > heard + RATE * 4, "the recording stands still")
        end(self.process)
        samples = array.array("h", self.file.read_bytes()[: self.size() // 4 * 4])
        self.left, self.right = samples[0::2], samples[1::2]

    def size(self):
        return self.file.stat().st_size if self.file.exists() else 0


def strength(samples, pitch):
    """Amplitude of one frequency among the samples (Goertzel's algorithm)."""
    factor = 2 * math.cos(2 * math.pi * pitch / RATE)
    before = last = 0.0
    for sample in samples:
        before, last = last, sample + factor * last - before
    return 2 * math.sqrt(max(0.0, last * last + before * before - factor * last * before)) / len(samples)


def windows(samples):
    return [samples[start:start + WINDOW] for start in range(0, len(samples) - WINDOW + 1, WINDOW)]


def is_sound(samples):
    return sum(map(abs, samples)) / len(samples) > AUDIBLE


def sounds(samples):
    """[(pitch, seconds, amplitude)] of the tones in their order. A tone goes on behind a silence: on a busy machine the sound
    server gets its samples late now and then."""
    found = []
    for window in filter(is_sound, windows(samples)):
        pitch = max((LOW, HIGH), key=lambda each: strength(window, each))
        if not found or found[-1][0] != pitch:
            found.append([pitch, 0, 0])
        found[-1][1] += WINDOW / RATE
        found[-1][2] = max(found[-1][2], strength(window, pitch))
    return [tuple(each) for each in found]


class PreviewIsHeard(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for program in ("pulseaudio", "pactl", "parec"):
            assert shutil.which(program), f"{program} is missing: Debian packages pulseaudio, pulseaudio-utils"
        cls.folder = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder, True)
        server = SoundServer(cls.folder)
        cls.server = server.__enter__()
        cls.addClassCleanup(server.__exit__)

    def hear(self, original, volume, *names):
        """Previews sounds on a phone; returns the recording and the journal's lines."""
        with PhoneCopy(TREE / "phones" / original, self.folder, f"sound-{self.id().rpartition('.')[2]}") as phone:
            rings = phone.folder / "root" / "Windows"
            rings.mkdir(exist_ok=True)
            (rings / "low.wav").write_bytes(tone(LOW))
            (rings / "high.wav").write_bytes(tone(HIGH))
            (phone.folder / "root" / "Program Files" / "Kelvane").mkdir(parents=True, exist_ok=True)
            with Recording(self.server, self.folder / f"{phone.name}.raw") as recording:
                environment = dict(phone.environment, PULSE_SERVER=self.server.environment["PULSE_SERVER"])
                subprocess.run([RUN_WINE, SIMULATOR / "preview_player.exe", volume, *names], env=environment,
                               stdin=subprocess.DEVNULL, timeout=2 * PATIENCE, check=True)
            journal = (phone.folder / "journal.log").read_text("utf-8").splitlines()
            return recording, [line.split("\t") for line in journal]

    def assert_tone(self, heard, pitch, amplitude):
        self.assertEqual(heard[0], pitch)
        self.assertGreater(heard[1], 0.8 * TONE_LENGTH)
        self.assertLess(heard[1], 2 * TONE_LENGTH)   # windows with a gap in them count in full
        self.assertAlmostEqual(heard[2], amplitude, delta=amplitude / 10)

    def test_second_preview_waits_for_the_first(self):
        recording, journal = self.hear("wm6", "1", "low", "high.wav")
        self.assertEqual([line[:2] for line in journal if line[0].startswith("play")],
                         [["play", "SndPlaySync"], ["played", "SndPlaySync"]] * 2)
        heard = sounds(recording.left)
        self.assertEqual([pitch for pitch, _, _ in heard], [LOW, HIGH])
        for each, pitch in zip(heard, (LOW, HIGH)):
            self.assert_tone(each, pitch, LOUDNESS)

    def test_older_phone_at_half_the_volume(self):
        recording, journal = self.hear("wm5", "80008000", "low")
        self.assertEqual([line for line in journal if line[0] == "volume"], [["volume", "0x80008000"],
                                                                             ["volume", "0xFFFFFFFF"]])
        for channel in (recording.left, recording.right):
            heard = sounds(channel)
            self.assertEqual(len(heard), 1)
            self.assert_tone(heard[0], LOW, LOUDNESS / 2)

    def test_channels_have_volumes_of_their_own(self):
        recording, _ = self.hear("ppc2003", "0000FFFF", "high")
        heard = sounds(recording.left)
        self.assertEqual(len(heard), 1)
        self.assert_tone(heard[0], HIGH, LOUDNESS)
        self.assertEqual(sounds(recording.right), [])

    def test_silent_names_are_not_heard(self):
        recording, journal = self.hear("wm6", "1", "<silent>", "none")
        self.assertEqual([line[-1] for line in journal if line[0] == "play"], ["not found"])
        self.assertEqual(sounds(recording.left), [])


if __name__ == "__main__":
    unittest.main()
