#!/usr/bin/env python3
"""Checks a bill of materials: sbom_check.py FILE. What SPDX 2.3 asks for is there, and every reference leads somewhere."""
import json
import re
import sys

ASKED_OF_DOCUMENT = {"spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo", "packages"}
ASKED_OF_PACKAGE = {"SPDXID", "name", "downloadLocation", "licenseDeclared", "copyrightText"}
COMPILED_IN = {"CLI11", "fmt", "nlohmann-json"}


def problems(bill):
    """What is wrong with a document, one line each."""
    yield from (f"the document has no {member}" for member in sorted(ASKED_OF_DOCUMENT - set(bill)))
    packages = bill.get("packages", [])
    for package in packages:
        yield from (f"{package.get('name')} has no {member}" for member in sorted(ASKED_OF_PACKAGE - set(package)))
        if not re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", package.get("SPDXID", "")):
            yield f"{package.get('name')} has no identifier of SPDX"
    explained = {info.get("licenseId") for info in bill.get("hasExtractedLicensingInfos", []) if info.get("extractedText")}
    own = {package.get("licenseDeclared", "") for package in packages}
    yield from (f"{licence} has no text" for licence in sorted(own - explained) if licence.startswith("LicenseRef-"))
    names = {package.get("name"): package for package in packages}
    for name in sorted(COMPILED_IN):
        if not re.fullmatch(r"[0-9.]+", names.get(name, {}).get("versionInfo", "")):
            yield f"{name} is compiled in and has no version"
    holders = {relation["spdxElementId"] for relation in bill.get("relationships", [])
               if (relation["relationshipType"], relation["relatedSpdxElement"]) == ("STATIC_LINK", "SPDXRef-nlohmann-json")}
    if holders != {"SPDXRef-scsitool", "SPDXRef-libscsitool-hosts1"}:
        yield f"what holds nlohmann-json is said to be {sorted(holders)}"
    known = {package.get("SPDXID") for package in packages} | {"SPDXRef-DOCUMENT"}
    for relation in bill.get("relationships", []):
        yield from (f"{end} is not described" for end in (relation["spdxElementId"], relation["relatedSpdxElement"])
                    if end not in known)


def main(path):
    """Prints the problems; 1 when there are some."""
    with open(path, encoding="utf-8") as file:
        found = list(problems(json.load(file)))
    print("".join(f"{path}: {problem}\n" for problem in found), end="", file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
