"""The Markdown of each manual page, put together from the documents and from what the command says of itself."""
import document
from document import DocumentError  # for those who call

__all__ = ["DocumentError", "all_pages"]

SEE_ALSO = {"scsitool": 1, "libscsitool": 3, "scsitool-host": 5}


def all_pages(docs, known):
    """{(name, section): Markdown} of every page."""
    manual = document.read(docs / "scsitool.md")
    document.check(manual, known)
    found = {("scsitool", 1): front_page(manual, known)}
    for command in known["commands"]:
        found[f"scsitool-{command['name']}", 1] = command_page(manual, command)
    found["scsitool-host", 5] = whole_page(
        docs / "recorded-host.md", "scsitool-host", "a host's disks, files and commands in one JSON file")
    found["libscsitool", 3] = whole_page(
        docs / "libscsitool.md", "libscsitool", "unique device identifiers of a Linux host's SCSI disks")
    return found


def front_page(manual, known):
    """scsitool(1)."""
    commands = "".join(f"**scsitool-{one['name']}**(1)\n:   {one['summary']}\n\n" for one in known["commands"])
    more = "".join(f"# {title.upper()}\n\n{manual.sections[title]}\n\n" for title in manual.sections
                   if title not in ("Exit status", "Files", "Show", "Change what the host sees"))
    return (name_of("scsitool", "knows a Linux host's SCSI disks") +
            "# SYNOPSIS\n\n**scsitool** [*OPTION* ...] *COMMAND* ...\n\n" +
            f"# DESCRIPTION\n\n{manual.introduction}\n\n# COMMANDS\n\n{commands}" +
            more + closing(manual, "scsitool"))


def command_page(manual, command):
    """The page of one command."""
    name = f"scsitool-{command['name']}"
    entry = manual.commands[command["name"]]
    synopsis = "\n\n".join(f"**scsitool** [*OPTION* ...] {document.emphasized(one)}" for one in entry.synopses)
    examples = "\n\n".join(f"```\n{one}```" for one in entry.examples)
    return (name_of(name, command["summary"]) + f"# SYNOPSIS\n\n{synopsis}\n\n# DESCRIPTION\n\n{entry.text}\n\n" +
            arguments_of(command) + options_of(command) + f"# EXAMPLES\n\n{examples}\n\n" + closing(manual, name))


def whole_page(path, name, what):
    """A page that is one document."""
    title, text = path.read_text(encoding="utf-8").split("\n", 1)
    if not title.startswith("# "):
        raise DocumentError(f"{path}: the first line is no title")
    return name_of(name, what) + "# DESCRIPTION\n\n" + document.for_a_manual(text) + "\n\n" + see_also(name)


def name_of(name, what):
    """The line that apropos finds."""
    return f"# NAME\n\n{name} - {what[0].lower()}{what[1:]}\n\n"


def arguments_of(command):
    """What stands behind the command's name."""
    lines = [f"*{one['name']}*\n:   {one['summary']}\n\n" for one in command["arguments"]]
    lines += [f"**{below['name']}**\n:   {below['summary']}\n\n" for below in command["commands"]]
    return "# ARGUMENTS\n\n" + "".join(lines) if lines else ""


def options_of(known):
    """The options of a command with those of the commands below it."""
    options = {}
    for one in [known, *known["commands"]] if "arguments" in known else [known]:
        for option in one["options"]:
            names = ", ".join(f"**{name}**" for name in option["names"])
            value = f" *{option['value']}*" if option["value"] else ""
            options[names] = f"{names}{value}\n:   {option['summary']}\n\n"
    return "# OPTIONS\n\n" + "".join(options.values())


def closing(manual, name):
    """What every page of a command ends with."""
    return (f"# EXIT STATUS\n\n{manual.sections['Exit status']}\n\n# FILES\n\n{manual.sections['Files']}\n\n" +
            see_also(name))


def see_also(name):
    """The other pages."""
    others = ", ".join(f"**{one}**({section})" for one, section in SEE_ALSO.items() if one != name)
    return f"# SEE ALSO\n\n{others}\n"
