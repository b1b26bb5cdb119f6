#!/usr/bin/env python3
"""Prints the bill of materials of the packages as SPDX 2.3: what was compiled in, in which version, under which licence.

    sbom.py VERSION COMMAND LIBRARY HOSTS DEVELOPMENT      (the names of the packages that are made)
"""
import datetime
import json
import os
import pathlib
import subprocess
import sys

# What compiled code holds: Debian's package, the project's name, its licence and copyright.
COMPILED_IN = (
    ("libcli11-dev", "CLI11", "BSD-3-Clause", "2017-2022 University of Cincinnati, developed by Henry Schreiner",
     "https://github.com/CLIUtils/CLI11"),
    ("libfmt-dev", "fmt", "LicenseRef-fmt", "2012-present Victor Zverovich", "https://github.com/fmtlib/fmt"),
    ("nlohmann-json3-dev", "nlohmann-json", "MIT", "2013-2022 Niels Lohmann", "https://github.com/nlohmann/json"),
)
# Of scsitool itself: the first line names the licence, the others are its text.
LICENCE = pathlib.Path(__file__).parent / "owner" / "licence"
# What of these reads the files of recorded hosts, in the command and in the library of hosts.
IN_RECORDED_HOSTS = ("nlohmann-json",)
# What is linked and comes with the system that a package is installed on.
LINKED = (
    ("libstdc++", "GPL-3.0-or-later WITH GCC-exception-3.1"),
    ("libgcc", "GPL-3.0-or-later WITH GCC-exception-3.1"),
    ("glibc", "LGPL-2.1-or-later"),
)
FMT_LICENCE = ("MIT, with the exception that portions embedded into a machine-executable object form by compiling may be "
               "redistributed in such form without the copyright and permission notices")


def installed_version(package):
    """The version of a Debian package without its epoch and revision, or None elsewhere."""
    run = subprocess.run(["dpkg-query", "-W", "-f=${source:Upstream-Version}", package], check=False, text=True,
                         capture_output=True)
    return run.stdout.strip().split("+ds")[0] or None if run.returncode == 0 else None


def element(name, version, licence, **more):
    """A package of SPDX; what nobody can say of it is said to be so."""
    made = {"SPDXID": f"SPDXRef-{name.replace('+', 'p')}", "name": name, "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": "NOASSERTION", **more}
    if version:
        made["versionInfo"] = version
    return made


def relation(one, kind, other):
    """ONE stands to OTHER as KIND says; both by name."""
    return {"spdxElementId": f"SPDXRef-{one}", "relationshipType": kind,
            "relatedSpdxElement": f"SPDXRef-{other.replace('+', 'p')}"}


def bill(version, made, created):
    """The document; MADE are the names of the packages: of the command, the library, the recorded hosts, the headers."""
    command, library, hosts, development = made
    own_licence, own_text = LICENCE.read_text(encoding="utf-8").split("\n", 1)
    texts = {"LicenseRef-fmt": FMT_LICENCE, own_licence: own_text.strip()}
    packages = [element(name, version, own_licence, copyrightText="the authors of scsitool") for name in made]
    relations = [relation("DOCUMENT", "DESCRIBES", name) for name in made]
    relations += [relation(one, "DEPENDS_ON", library) for one in (command, hosts, development)]
    relations.append(relation(development, "DEPENDS_ON", hosts))
    for package, name, licence, copyright_text, home in COMPILED_IN:
        packages.append(element(name, installed_version(package), licence, copyrightText=copyright_text, homepage=home))
        relations += [relation(one, "STATIC_LINK", name) for one in (command, hosts)
                      if one == command or name in IN_RECORDED_HOSTS]
    for name, licence in LINKED:
        packages.append(element(name, None, licence))
        relations += [relation(one, "DYNAMIC_LINK", name) for one in (command, library, hosts)]
    return {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"scsitool-{version}", "documentNamespace": f"https://spdx.org/spdxdocs/scsitool-{version}-{created}",
        "creationInfo": {"created": created, "creators": ["Tool: packaging/sbom.py"]},
        "packages": packages, "relationships": relations,
        # The others are in SPDX's own list.
        "hasExtractedLicensingInfos": [{"licenseId": licence, "extractedText": text} for licence, text in texts.items()
                                       if licence.startswith("LicenseRef-")],
    }


def main(version, *made):
    """Prints the document, dated as the sources are."""
    moment = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    print(json.dumps(bill(version, made, moment.strftime("%Y-%m-%dT%H:%M:%SZ")), indent=2))


if __name__ == "__main__":
    main(*sys.argv[1:])
