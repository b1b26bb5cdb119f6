#!/usr/bin/env python3
"""What the library exports is declared in an installed header, and the other way round.

    surface.py LIBRARY LIST-OF-OBJECTS COMPILER HEADER-FOLDER...

The built objects say which functions exist and which of them carry the export macro; the library
says which it exports; the compiler says which names the headers declare.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

# The standard library's templates that were instantiated here, and the compiler's own.
FOREIGN = re.compile(r"_ZZ?N?K?(St|9__gnu_cxx|S[abdios])|_ZT[ISV](N?St|N10__cxxabiv1)|DW\.ref\.|_ZGVZ?NS?t")
# "vtable for X": what stands behind is a class; of the others it is a function.
OF_CLASS = re.compile(r"(?:vtable|VTT|typeinfo|typeinfo name|construction vtable) for (.*)")
OF_FUNCTION = re.compile(r"(?:non-virtual thunk|virtual thunk|covariant return thunk) to (.*)")


def symbols_of(objects):
    """Mangled name to (visibility, binding) of what the objects define."""
    table = {}
    output = subprocess.run(["readelf", "-sW", *objects], check=True, text=True,
                            capture_output=True).stdout
    for line in output.splitlines():
        fields = line.split()
        if len(fields) >= 8 and fields[4] in ("GLOBAL", "WEAK") and fields[6] != "UND":
            table[fields[7]] = (fields[5], fields[4])
    return {name: kind for name, kind in table.items() if not FOREIGN.match(name)}


def exported_by(library):
    output = subprocess.run(["nm", "-D", "--defined-only", library], check=True, text=True,
                            capture_output=True).stdout
    return {line.split()[-1].split("@")[0] for line in output.splitlines() if " A " not in line}


def demangled(names):
    names = sorted(names)
    output = subprocess.run(["c++filt", "-p"], input="\n".join(names), check=True, text=True,
                            capture_output=True).stdout
    return dict(zip(names, output.splitlines()))


def scope_of(name):
    """The qualified name without its last part, and that part; brackets of templates count."""
    depth = 0
    for at in range(len(name) - 1, 0, -1):
        depth += {">": 1, ")": 1, "<": -1, "(": -1}.get(name[at], 0)
        if depth == 0 and name[at - 1:at + 1] == "::":
            return name[:at - 1], name[at + 1:]
    return "", name


def asked_of(symbol):
    """(class, entity) that a symbol belongs to; one of both may be empty."""
    of_class = OF_CLASS.fullmatch(symbol)
    if of_class:
        return of_class.group(1).split("-in-")[0], ""
    of_function = OF_FUNCTION.fullmatch(symbol)
    name = re.sub(r"\[abi:\w+\]", "", of_function.group(1) if of_function else symbol)
    return scope_of(name)[0], name


class Headers:
    """Asks the compiler which names the headers declare."""

    def __init__(self, compiler, folders):
        self.compiler = compiler
        self.folders = folders
        self.includes = [f'#include "{header.relative_to(folder)}"' for folder in folders
                         for header in sorted(pathlib.Path(folder).rglob("*.h"))]

    def declared(self, classes, entities):
        """Those of the classes that are complete, and those of the entities that are no members."""
        lines = list(self.includes)
        asked = {}
        for name in sorted(classes):
            lines.append(f"static_assert(sizeof(::{name}) != 0);")
            asked[len(lines)] = name
        for number, name in enumerate(sorted(entities)):
            lines.append(f"namespace probe{number} {{ using ::{name}; }}")
            asked[len(lines)] = name
        with tempfile.TemporaryDirectory() as folder:
            source = pathlib.Path(folder) / "probe.cc"
            source.write_text("\n".join(lines) + "\n", encoding="utf-8")
            clang = "clang" in self.compiler
            result = subprocess.run(
                [self.compiler, "-std=c++17", "-fsyntax-only", "-w",
                 "-ferror-limit=0" if clang else "-fmax-errors=0",
                 *(f"-I{folder}" for folder in self.folders), str(source)],
                check=False, text=True, capture_output=True, env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"})
        wrong = {int(at) for at in re.findall(r"probe\.cc:(\d+):\d+: (?:fatal )?error", result.stderr)}
        if any(at not in asked for at in wrong) or (result.returncode and not wrong):
            raise SystemExit(f"the headers do not compile:\n{result.stderr[:2000]}")
        return {name for at, name in asked.items() if at not in wrong}


def problems_of(library, objects, headers):
    defined = symbols_of(objects)
    exported = exported_by(library)
    names = demangled(set(defined) | exported)
    asked = {symbol: asked_of(name) for symbol, name in names.items()}
    declared = headers.declared({place for place, _ in asked.values() if place},
                                {entity for _, entity in asked.values()
                                 if entity and re.fullmatch(r"[\w:]+", entity)})

    def is_installed(symbol):
        return any(name in declared for name in asked[symbol] if name)

    problems = [f"exported and in no installed header: {names[symbol]}"
                for symbol in sorted(exported) if not is_installed(symbol)]
    for symbol, (visibility, binding) in sorted(defined.items()):
        if visibility == "DEFAULT" and symbol not in exported:
            problems.append(f"marked for export and held back by the version script: {names[symbol]}")
        # Inline functions come with the header; what is weak needs no library.
        if visibility != "DEFAULT" and binding == "GLOBAL" and is_installed(symbol):
            problems.append(f"declared in an installed header and not exported: {names[symbol]}")
    return problems


def main(library, objects, compiler, *folders):
    listed = pathlib.Path(objects).read_text(encoding="utf-8").split()
    problems = problems_of(library, listed, Headers(compiler, folders))
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
