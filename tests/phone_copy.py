"""A phone for a Python script: a copy of a delivered one, with a name of its own so that nothing is left behind."""
import configparser
import os
import shutil
import subprocess
from pathlib import Path

TREE = Path(__file__).resolve().parent.parent
SIMULATOR = TREE / "build" / "simulator"
RUN_WINE = TREE / "simulator" / "run-wine"


def delivered_phones():
    return sorted(path.parent for path in (TREE / "phones").glob("*/phone.ini"))


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class PhoneCopy:
    """Use it in a with statement: at the end the phone's registry goes. The folder given belongs to the caller."""

    def __init__(self, original, folder, purpose):
        self.original = original.name
        self.name = f"{purpose}-{original.name}-{os.getpid()}"
        self.folder = folder / self.name
        shutil.copytree(original, self.folder)
        self.facts = configparser.ConfigParser(strict=False, interpolation=None)
        self.facts.read(self.folder / "phone.ini", encoding="utf-8")
        self.set_facts("phone", name=self.name)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        key = rf"HKEY_CURRENT_USER\Software\Phone Simulator\{self.name}"
        # There is none if no program came as far as opening it.
        subprocess.run([RUN_WINE, "reg", "delete", key, "/f"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=False)

    def set_facts(self, section, **facts):
        if not self.facts.has_section(section):
            self.facts.add_section(section)
        self.facts[section].update(facts)
        with open(self.folder / "phone.ini", "w", encoding="utf-8") as file:
            self.facts.write(file, space_around_delimiters=False)

    def set_registry(self, key, name, data):
        """Sets a value of the registry the phone boots with: what stands last in the file holds."""
        with open(self.folder / "registry.reg", "a", encoding="utf-8") as file:
            file.write(f'\n[{key}]\n"{name}"={data}\n')

    @property
    def environment(self):
        return dict(os.environ, PHONE=str(self.folder))

    @property
    def screen(self):
        return self.facts.getint("screen", "width"), self.facts.getint("screen", "height")

    @property
    def scale(self):
        return self.facts.getint("screen", "dpi") / 96

    @property
    def os_major(self):
        return int(self.facts["phone"]["os"].split(".")[0])
