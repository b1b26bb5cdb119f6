#!/usr/bin/env python3
"""Walks through the page of `scsitool report` in a browser without a screen: report_test.py COMMAND FOLDER

The pictures of the pages are left in FOLDER for whoever wants to look at them."""
import html
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
WALK = (pathlib.Path(__file__).parent / "walk.js").read_text(encoding="utf-8")
SAMPLES = ["enterprise", "families", "in-use", "plain-server", "sick-all-paths-down", "sick-dead-path"]
MANY = 1000
# Of a search among so many, on a machine that draws without a graphics card and has other work.
LONGEST_SEARCH = 500
HOSTILE = "</script><img src=x onerror=alert(1)><!--"


def browser(folder, *arguments):
    """Runs the browser with a profile of its own."""
    program = shutil.which("chromium") or shutil.which("chromium-browser") or shutil.which("google-chrome")
    if program is None:
        sys.exit("report_test.py: there is no Chromium; the package is chromium")
    return subprocess.run([program, "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--disable-dev-shm-usage",
                           f"--user-data-dir={folder}/profile", *arguments], check=True, capture_output=True, text=True,
                          timeout=120).stdout


def page_of(command, sample):
    """The page of a sample."""
    run = subprocess.run([command, "--host", ROOT / "samples" / f"{sample}.json", "report"], capture_output=True, text=True,
                         check=False)
    if run.returncode not in (0, 3):
        sys.exit(f"report_test.py: {sample}: {run.stderr}")
    return run.stdout


def data_of(page):
    """What stands in a page."""
    return json.loads(re.search(r'<script type="application/json" id="data">(.*?)</script>', page, re.DOTALL)[1])


def with_data(page, data):
    """The page with other data, written as the command writes them."""
    text = json.dumps(data).replace("<", "\\u003c")
    return re.sub(r'(<script type="application/json" id="data">).*?(</script>)',
                  lambda match: match[1] + text + match[2], page, count=1, flags=re.DOTALL)


def multiplied(page, count):
    """A page of as many volumes."""
    data = data_of(page)
    volumes = [one for one in data["volumes"] if len(one["devices"]) > 2]
    data["volumes"] = []
    for number in range(count):
        volume = json.loads(json.dumps(volumes[number % len(volumes)]))
        for one in [volume, *volume["devices"]]:
            one["name"] += f"-{number}"
        data["volumes"].append(volume)
    return with_data(page, data)


def spoiled(page):
    """A page of a host whose every text is a trap."""
    data = data_of(page)
    for volume in data["volumes"]:
        volume["vendor"] = volume["product"] = volume["udid"] = HOSTILE
    data["host"] = HOSTILE
    return with_data(page, data)


def walk(folder, name, page):
    """What is wrong with a page, and how long a search took."""
    path = pathlib.Path(folder) / f"{name}.html"
    path.write_text(page.replace("</body>", f"<script>\n{WALK}\n</script></body>"), encoding="utf-8")
    found = re.search(r"<pre>(.*?)</pre>", browser(folder, "--dump-dom", path.as_uri()), re.DOTALL)
    if found is None:
        return [f"{name}: the page did not come to its end"], 0
    result = json.loads(html.unescape(found[1]))
    return [f"{name}: {one}" for one in result["wrong"]], result["milliseconds"]


def picture(folder, pictures, name, page, *arguments):
    """Draws a page as it is seen."""
    path = pathlib.Path(folder) / f"{name}.html"
    path.write_text(page, encoding="utf-8")
    target = pictures / f"{name}.png"
    target.unlink(missing_ok=True)
    browser(folder, "--window-size=1500,1600", f"--screenshot={target}", *arguments, path.as_uri())
    return [] if target.exists() and target.stat().st_size > 10000 else [f"{name}: there is nothing to be seen"]


def main(command, pictures):
    """Prints what is wrong; exit status 1 if anything is."""
    pictures = pathlib.Path(pictures)
    pictures.mkdir(parents=True, exist_ok=True)
    problems = []
    with tempfile.TemporaryDirectory() as folder:
        pages = {sample: page_of(command, sample) for sample in SAMPLES}
        for name, page in pages.items():
            addresses = set(re.findall(r"https?://[^\"'\s]+", page)) - {"http://www.w3.org/2000/svg"}
            problems += [f"{name}: it speaks of {one}" for one in addresses]
            problems += walk(folder, name, page)[0]
        problems += walk(folder, "hostile", spoiled(pages["enterprise"]))[0]
        wrong, milliseconds = walk(folder, "many", multiplied(pages["enterprise"], MANY))
        problems += wrong
        print(f"a search among {MANY} volumes: {milliseconds} ms")
        if milliseconds > LONGEST_SEARCH:
            problems.append(f"a search among {MANY} volumes takes {milliseconds} ms, more than {LONGEST_SEARCH}")
        problems += picture(folder, pictures, "light", pages["enterprise"])
        problems += picture(folder, pictures, "dark", pages["sick-dead-path"], "--force-dark-mode",
                            "--blink-settings=preferredColorScheme=0")
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
