"""Reads docs/scsitool.md: its sections, the commands that it describes and their examples."""
import dataclasses
import re

LINK = re.compile(r"\[([^\]]*)\]\([^)]*\)")
EXAMPLE = re.compile(r"```console\n(.*?)```\n?", re.DOTALL)
CELL_END = re.compile(r"(?<!\\)\|")
TABLE = re.compile(r"(?:^\|.*\n)+", re.MULTILINE)
OPTION = re.compile(r"(?<![\w-])(--?[a-zA-Z][\w-]*)")


# What is described once for all commands.
EVERYWHERE = [["-h", "--help"], ["--force"]]


class DocumentError(Exception):
    """A document that does not say what a manual has to say."""


@dataclasses.dataclass
class Entry:
    """What the document says of a command."""
    synopses: list
    text: str
    examples: list


@dataclasses.dataclass
class Manual:
    """The document, taken apart."""
    introduction: str
    sections: dict
    commands: dict


def read(path):
    """Takes the document apart."""
    text = path.read_text(encoding="utf-8")
    begin, *rest = re.split(r"^## ", text, flags=re.MULTILINE)
    sections, commands = {}, {}
    for part in rest:
        title, body = part.split("\n", 1)
        # A heading that begins with a small letter is a command's.
        introduction, *entries = re.split(r"^### (?=[a-z])", body, flags=re.MULTILINE)
        sections[title] = for_a_manual(introduction)
        for entry in entries:
            heading, described = entry.split("\n", 1)
            commands[re.match(r"[a-z-]+", heading)[0]] = entry_of(heading, described)
    for needed in ("Exit status", "Files"):
        if needed not in sections:
            raise DocumentError(f"{path}: no section '{needed}'")
    return Manual(for_a_manual(begin.split("\n", 1)[1]), sections, commands)


def entry_of(heading, text):
    """One command. A heading names the ways to call it, apart by " | " at its outermost."""
    name = heading.split()[0]
    ways = re.split(r" \| (?=[a-z])", heading)
    synopses = [way if way.startswith(name) else f"{name} {way}" for way in ways]
    return Entry(synopses, for_a_manual(EXAMPLE.sub("", text)), EXAMPLE.findall(text))


def check(manual, known):
    """Every command and each of its options stands in the document, and none that there is not."""
    common = {name for option in known["options"] for name in option["names"]}
    if common != set(OPTION.findall(" ".join(re.findall(r"^`-.*", manual.introduction, re.MULTILINE)))):
        raise DocumentError("docs/scsitool.md: its first table has other options than every command takes")
    # What several commands take is described with one of them.
    described = [part for entry in manual.commands.values() for part in (entry.text, *entry.synopses)]
    anywhere = set(OPTION.findall(" ".join(described)))
    for command in known["commands"]:
        entry = manual.commands.get(command["name"])
        if entry is None or not entry.examples:
            raise DocumentError(f"docs/scsitool.md: nothing, or no example, of {command['name']}")
        own = [option["names"] for one in [command, *command["commands"]] for option in one["options"]]
        told = set(OPTION.findall(" ".join(entry.synopses)))
        for names in own:
            said = told | common | anywhere
            if not said & set(names) and names not in EVERYWHERE:
                raise DocumentError(f"docs/scsitool.md: {command['name']} is described without {names[-1]}")
        unknown = told - common - {name for names in own for name in names}
        if unknown:
            raise DocumentError(f"docs/scsitool.md: {command['name']} has no {' '.join(sorted(unknown))}")
    extra = set(manual.commands) - {command["name"] for command in known["commands"]}
    if extra:
        raise DocumentError(f"docs/scsitool.md: there is no command {' '.join(sorted(extra))}")


def for_a_manual(text):
    """Links lead nowhere on paper, a table of two columns is a list there, and sections stand on one level."""
    text = TABLE.sub(lambda match: list_of(match[0]), LINK.sub(r"\1", text))
    return re.sub(r"^#+ (.*)$", lambda match: f"## {match[1]}", text, flags=re.MULTILINE).strip()


def list_of(table):
    """A table of two columns as a list of terms with what they mean; any other as it is."""
    rows = [[cell.strip().replace("\\|", "|") for cell in CELL_END.split(line.strip().strip("|"))]
            for line in table.splitlines()]
    if any(len(row) != 2 for row in rows):
        return table
    return "\n".join(f"{term}\n:   {meaning}\n" for term, meaning in rows[2:])


def emphasized(synopsis):
    """Words that are typed in bold, those that stand for others in italics."""
    def word(match):
        text = match[0]
        return f"*{text}*" if text.isupper() or len(text) == 1 and text.isupper() else f"**{text}**"
    return re.sub(r"--?[\w-]+|[\w-]+", word, synopsis).replace("[", "\\[").replace("]", "\\]")
