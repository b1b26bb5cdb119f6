#!/usr/bin/env python3
"""Proves that the check of the surface finds what is exported and not installed, what is installed
and not exported, what the version script holds back, and nothing else.

    surface_test.py COMPILER
"""

import pathlib
import subprocess
import sys
import tempfile

import surface

HEADER = """
#define SHOWN __attribute__((visibility("default")))
namespace shown {
SHOWN int exported(int value);
SHOWN int heldBack();
int unmarked();
inline int inlined() { return 1; }
}
class SHOWN Whole { public: Whole(); virtual ~Whole(); virtual int asked(const char* text) const; };
template <class T> class SHOWN Template { public: static T instance(bool create); };
extern template class Template<int>;
class Unmarked { public: int asked(); };
class Internal;
"""

SOURCE = """
#include <string>
#include "shown.h"
namespace shown {
int exported(int value) { return value + inlined(); }
int heldBack() { return 1; }
int unmarked() { return 1; }
}
Whole::Whole() = default;
Whole::~Whole() = default;
int Whole::asked(const char* text) const { return static_cast<int>(std::string(text).size()); }
template <class T> T Template<T>::instance(bool create) { return create; }
template class Template<int>;
int Unmarked::asked() { return 1; }
class Internal { public: int asked(); };
int Internal::asked() { return 1; }
namespace hidden {
SHOWN int notInstalled() { return 1; }
int internal() { return 1; }
}
"""

MAP = """
{
  global: _ZN5shown*; _ZN6hidden*; _Z*5Whole*; _Z*8Template*;
  local: _ZN5shown8heldBackEv; *;
};
"""

EXPECTED = """\
exported and in no installed header: hidden::notInstalled
declared in an installed header and not exported: Unmarked::asked
marked for export and held back by the version script: shown::heldBack
declared in an installed header and not exported: shown::unmarked
"""


def main(compiler):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "include").mkdir()
        (folder / "include/shown.h").write_text(HEADER, encoding="utf-8")
        (folder / "source.cc").write_text(SOURCE, encoding="utf-8")
        (folder / "map").write_text(MAP, encoding="utf-8")
        subprocess.run([compiler, "-std=c++17", "-w", "-fPIC", "-fvisibility=hidden", "-c",
                        f"-I{folder}/include", folder / "source.cc", "-o", folder / "source.o"],
                       check=True)
        subprocess.run([compiler, "-shared", f"-Wl,--version-script={folder}/map",
                        folder / "source.o", "-o", folder / "library.so"], check=True)
        found = surface.problems_of(str(folder / "library.so"), [str(folder / "source.o")],
                                    surface.Headers(compiler, [str(folder / "include")]))
    if sorted(found) != sorted(EXPECTED.splitlines()):
        print("found:", *found, "expected:", *EXPECTED.splitlines(), sep="\n")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
