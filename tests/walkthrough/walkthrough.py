#!/usr/bin/env python3
"""Follows the walk-through of docs/architecture.md by its own text: takes the blocks of code out of
the document, puts each where the words before it say, builds the array family inside a copy of the
tree and outside of it, against an installation, and runs its test in both places.

    walkthrough.py SOURCE-FOLDER BUILD-FOLDER WORK-FOLDER C++-COMPILER COMPILER-VERSION
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

DOCUMENT = "docs/architecture.md"
OUTSIDE = "## A family of a plug-in's own"
ROW_PLACE = "    // the row of step 3\n"
COPIED = ("include", "src", "cli/output", "docs", "tests/unit")


class Block:
    """One block of code: the file that it makes, or where in a file it is put."""

    def __init__(self, file, before, text):
        self.file, self.before, self.text = file, before, text


def blocks_of(document):
    """The blocks in their order. A paragraph names the file, or goes on with the last one, and says
    what a block stands "in front of"."""
    file = None
    blocks = []
    for prose, text in re.findall(r"([^\n].*(?:\n[^\n]+)*)\n\n```\w+\n((?:(?!```).*\n)*)```\n",
                                  document):
        paragraph = " ".join(prose.split("\n"))
        named = [name for name in re.findall(r"`([^`]+)`", paragraph)
                 if re.fullmatch(r"[\w/.-]+\.(h|cc|md|txt)", name)]
        before = re.search(r"in front of `([^`]+)`", paragraph)
        file = named[0] if named else file
        if file is None:
            sys.exit(f"{DOCUMENT}: no file is named before a block: {paragraph}")
        blocks.append(Block(file, before.group(1) if before else None, text))
    return blocks


def put(blocks, files):
    """Puts the blocks into a tree of texts by path. Whoever follows the walk-through in the tree
    itself has some of them there already."""
    for block in blocks:
        text = files.get(block.file, "")
        if block.text in text:
            continue
        if block.before is None:
            if text:
                sys.exit(f"{DOCUMENT}: {block.file} is there already, and is something else")
            files[block.file] = block.text
            continue
        places = len(re.findall("^" + re.escape(block.before), text, re.MULTILINE))
        if places != 1:
            sys.exit(f"{DOCUMENT}: {block.file} has {places} lines that begin with {block.before}")
        files[block.file] = re.sub("^" + re.escape(block.before),
                                   lambda found, new=block.text: new + found.group(), text,
                                   count=1, flags=re.MULTILINE)


def write(files, folder):
    """Writes what differs, so that a second build has nothing to do, and removes what is no more."""
    for path in [path for path in folder.rglob("*") if path.is_file()]:
        if str(path.relative_to(folder)) not in files:
            path.unlink()
    for name, text in files.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            path.write_text(text, encoding="utf-8")


def tree(source):
    """The tree's own files that the walk-through touches or compiles."""
    return {str(path.relative_to(source)): path.read_text(encoding="utf-8")
            for folder in COPIED for path in (source / folder).rglob("*")
            if path.suffix in (".h", ".cc", ".md", ".map")}


class Builder:
    def __init__(self, work, compiler):
        self.work, self.compiler = work, compiler
        self.environment = os.environ | {"CCACHE_BASEDIR": str(work)}
        self.launcher = shutil.which("ccache")

    def run(self, *command):
        result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                text=True, check=False, env=self.environment)
        if result.returncode != 0:
            sys.exit(f"{' '.join(map(str, command))}\n{result.stdout}")
        return result.stdout

    def build(self, source, folder, **variables):
        if self.launcher:
            variables["CMAKE_CXX_COMPILER_LAUNCHER"] = self.launcher
        self.run("cmake", "-G", "Ninja", "-S", source, "-B", folder,
                 f"-DCMAKE_CXX_COMPILER={self.compiler}",
                 *[f"-D{name}={value}" for name, value in variables.items()])
        self.run("cmake", "--build", folder)
        return folder


def build_inside(builder, source, blocks, compiler_version):
    """The family in a copy of the tree; its library exports what a family may."""
    files = tree(source)
    put(blocks, files)
    copy = builder.work / "inside" / "tree"
    write(files, copy)
    (copy / "samples").mkdir(exist_ok=True)
    build = builder.build(pathlib.Path(__file__).parent / "inside", builder.work / "inside/build",
                          TREE=copy, OBJECTS=builder.work / "objects.txt")
    if shutil.which("clang-format"):
        builder.run("clang-format", "--dry-run", "--Werror", f"--style=file:{source}/.clang-format",
                    *[copy / block.file for block in blocks if block.file.endswith((".h", ".cc"))])
    builder.run(build / "tests", "--gtest_brief=1")
    builder.run(source / "tests/checks/library.sh", build / "libscsitool.so", compiler_version)


def build_outside(builder, source, build, blocks, own):
    """The family as a plug-in's own. Its test takes the tree's builders of pages and nothing else."""
    made = [block for block in blocks if block.before is None]
    row = next(block for block in blocks if block.before and "Everything else" in block.before)
    files = {}
    put(made + own, files)
    files["src/udid/families.h"] = files["src/udid/families.h"].replace(ROW_PLACE, row.text)
    if row.text not in files["src/udid/families.h"]:
        sys.exit(f"{DOCUMENT}: the plug-in's table has no place for its row")
    for name in ("generator_probe.h", "page_builder.h"):
        files[f"tests/unit/{name}"] = (source / "tests/unit" / name).read_text(encoding="utf-8")
    files["CMakeLists.txt"] += """
find_package(GTest REQUIRED)
add_executable(tests tests/unit/acme_udid_generator_test.cc)
target_link_libraries(tests PRIVATE families GTest::gtest_main)
"""
    folder = builder.work / "outside"
    write(files, folder / "plugin")
    builder.run("cmake", "--install", build, "--prefix", folder / "installed")
    program = builder.build(folder / "plugin", folder / "build", CMAKE_CXX_FLAGS="-Wall -Wextra -Werror",
                            CMAKE_PREFIX_PATH=folder / "installed")
    builder.run(program / "tests", "--gtest_brief=1")
    said = builder.run(program / "plugin").split("\n")
    expected = ["ACME:ADA: claims", "  the standard INQUIRY data is missing"]
    if said[:2] != expected:
        sys.exit(f"the plug-in says {said[:2]}, not {expected}")


def main(source, build, work, compiler, compiler_version):
    source, build, work = (pathlib.Path(folder).resolve() for folder in (source, build, work))
    document = (source / DOCUMENT).read_text(encoding="utf-8")
    inside, heading, outside = document.partition(OUTSIDE)
    if not heading:
        sys.exit(f"{DOCUMENT}: no section {OUTSIDE}")
    builder = Builder(work, compiler)
    blocks = blocks_of(inside)
    build_inside(builder, source, blocks, compiler_version)
    build_outside(builder, source, build, blocks, blocks_of(outside))


if __name__ == "__main__":
    main(*sys.argv[1:])
