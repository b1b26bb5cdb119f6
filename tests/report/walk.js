// Walks through the page as a reader does and writes down what is wrong.
(() => {
  const wrong = [];
  const expect = (what, found, wanted) => {
    if (JSON.stringify(found) !== JSON.stringify(wanted)) {
      wrong.push(`${what}: ${JSON.stringify(found)}, not ${JSON.stringify(wanted)}`);
    }
  };
  const rows = () => [...document.querySelectorAll("tr.volume")];
  const names = () => rows().map((row) => row.cells[0].textContent);
  const press = (target, key) => target.dispatchEvent(new KeyboardEvent("keydown", { key, bubbles: true, cancelable: true }));
  const search = (text) => {
    const field = document.getElementById("search");
    field.value = text;
    field.dispatchEvent(new Event("input"));
  };
  const given = JSON.parse(document.getElementById("data").textContent);
  const all = given.volumes.length;

  expect("rows", rows().length, Math.min(all, 100));
  expect("count", document.getElementById("count").textContent, `${all} of ${all} volumes`);
  expect("findings", document.querySelectorAll("article").length, given.findings.length);
  expect("drawing", document.querySelectorAll("#topology svg").length, 1);
  expect("no element of a host's text", document.querySelectorAll("img, iframe, a, link, body script[src]").length, 0);

  const first = names();
  const heading = () => document.querySelectorAll("#volumes thead th")[0];
  heading().querySelector("button").click();
  expect("descending", heading().getAttribute("aria-sort"), "descending");
  if (all <= 100) expect("the other way round", names(), [...first].reverse());
  heading().querySelector("button").click();
  expect("ascending again", names(), first);

  search(first[0]);
  expect("a name is found", names().includes(first[0]), true);
  search("no such thing anywhere");
  expect("nothing is found", rows().length, 0);
  press(document.getElementById("search"), "Escape");
  expect("escape clears", document.getElementById("search").value, "");

  press(document.body, "/");
  expect("the slash leads to the search", document.activeElement.id, "search");
  press(document.activeElement, "ArrowDown");
  expect("down leads to the first row", document.activeElement, rows()[0]);
  press(document.activeElement, "Enter");
  expect("enter opens", document.querySelectorAll("tr.more").length, 1);
  expect("with its paths", document.querySelectorAll("tr.more tbody tr").length, given.volumes
    .find((one) => one.name === first[0]).devices.filter((one) => one.claim_level === 0).length);
  press(document.activeElement, "Escape");
  expect("escape closes", document.querySelectorAll("tr.more").length, 0);
  if (all > 1) {
    press(document.activeElement, "ArrowDown");
    expect("down walks on", document.activeElement === rows()[1], true);
    press(document.activeElement, "ArrowUp");
    expect("up walks back", document.activeElement === rows()[0], true);
  }
  document.getElementById("doubtful").click();
  expect("only what is doubtful", rows().length <= all, true);
  document.getElementById("doubtful").click();

  // A search may take as long as a key stays down.
  const begun = performance.now();
  search("dev");
  document.body.getBoundingClientRect();
  const taken = performance.now() - begun;
  search("");
  dispatchEvent(new Event("beforeprint"));
  expect("all are printed", rows().length, all);
  document.body.replaceChildren(Object.assign(document.createElement("pre"), {
    textContent: JSON.stringify({ wrong, milliseconds: Math.round(taken) }),
  }));
})();
