// The page of a preview: asks the program that serves it, and draws what comes. All texts go in as text, never as HTML.
"use strict";

let page = null;      // what the program knows this page by
let version = -1;     // of the forms that are drawn
let typed = new Map();  // dialog and field -> what was typed, to be kept when the forms are drawn anew

const byId = (id) => document.getElementById(id);

function element(name, properties = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (key.startsWith("aria-") || key === "role" || key === "for") made.setAttribute(key, value);
    else made[key] = value;
  }
  made.append(...children);
  return made;
}

const GONE = 0;  // the status of a program that does not answer

async function ask(call, values) {
  const request = {method: "POST", headers: {"Content-Type": "application/json"}, body: JSON.stringify(values)};
  const response = await fetch(call, request).catch(() => {
    throw Object.assign(new Error("vorlix preview has ended."), {status: GONE});
  });
  const answer = await response.json();
  if (!response.ok) throw Object.assign(new Error(answer.refused), {status: response.status});
  return answer;
}

function say(text) { byId("state").textContent = text; }

// ---- A field -------------------------------------------------------------------------------------------------------

// The text with the character at fault marked.
function marked(text, at) {
  const characters = Array.from(text);
  const shown = element("code");
  if (at < 0 || at >= characters.length) {
    shown.append(text);
  } else {
    shown.append(characters.slice(0, at).join(""), element("mark", {}, characters[at]), characters.slice(at + 1).join(""));
  }
  return shown;
}

function value(text) { return text === "" ? "nothing" : element("code", {}, text); }

function tell(output, text, answer) {
  output.replaceChildren();
  output.dataset.about = text;
  if (answer.accepted) {
    const how = answer.reason === "" ? "accepted" : answer.reason;  // that nothing was typed
    output.append(element("span", {className: "good"}, how), ": shows as ", value(answer.shown), ", stored as ",
      value(answer.stored), answer.note ? "; " + answer.note : "");
  } else {
    output.append(element("span", {className: "bad"}, "refused: " + answer.reason), " ", marked(text, answer.at));
  }
  if (answer.function) output.append(" ", element("span", {className: "about"}, `${answer.function}: code ${answer.code}, rc ${answer.rc}`));
  if (!answer.script) return;
  const copy = element("button", {type: "button", "aria-label": `copy ${output.dataset.field} as script`}, "copy as script");
  copy.addEventListener("click", async () => {
    try {
      await navigator.clipboard.writeText(answer.script);
      say("Copied; vorlix run FILE runs it.");
    } catch {  // the browser does not allow it: the lines are shown, to be copied by hand
      copy.replaceWith(element("pre", {tabIndex: 0}, answer.script));
    }
  });
  output.append(" ", copy);
}

function textInput(field, id) {
  const lines = Math.min(Math.ceil(field.length / 80), 10);
  const input = lines > 1 ? element("textarea", {rows: lines}) : element("input", {type: "text"});
  input.id = id;
  input.value = field.shown.trim();
  input.autocomplete = "off";
  input.spellcheck = false;
  input.style.width = Math.max(1, Math.min(field.length, 80)) + "ch";
  return input;
}

// The value that is chosen at first, or was chosen before.
function choiceInput(field, id, chosen, changed) {
  const value = Number.parseInt(chosen, 10) || 0;
  if (field.object === "CB") {
    const box = element("input", {type: "checkbox", id, checked: value !== 0});
    box.addEventListener("change", () => changed(box.checked ? "1" : "0"));
    return box;
  }
  if (field.choices.length === 0) {
    const number = element("input", {type: "number", id, value});
    if (Number(field.maximum) > Number(field.minimum)) Object.assign(number, {min: field.minimum, max: field.maximum});
    number.addEventListener("change", () => changed(number.value));
    return number;
  }
  const group = element("span", {id, role: "radiogroup", "aria-label": field.name});
  for (const choice of field.choices) {
    const button = element("input", {type: "radio", name: id, id: id + "-" + choice, value: choice, checked: choice === value});
    button.addEventListener("change", () => changed(String(choice)));
    group.append(element("label", {className: "choice"}, button, " " + choice));
  }
  return group;
}

// What a field answers. Of a server that takes its time nothing old is left standing.
function answerer(dialog, field, key, output) {
  return async (input, text) => {
    typed.set(key, text);
    const patience = setTimeout(() => output.replaceChildren("no answer yet ..."), 300);
    try {
      const answer = await ask("type", {page, dialog: dialog.id, field: field.name, text});
      if (typed.get(key) !== text) return;  // somebody has typed on
      input.setAttribute("aria-invalid", String(!answer.accepted));
      tell(output, text, answer);
    } catch (failure) {
      if (typed.get(key) === text) output.textContent = failure.message;
    } finally {
      clearTimeout(patience);
    }
  };
}

function drawInput(field, key, id, box, send) {
  if (field.typed) {
    const input = textInput(field, id);
    input.setAttribute("aria-describedby", id + "-about " + id + "-answer");
    if (field.required) input.setAttribute("aria-required", "true");
    if (typed.has(key)) input.value = typed.get(key);
    input.addEventListener("input", () => send(input, input.value));
    box.append(input);
    if (typed.has(key)) send(input, input.value);
  } else if (["CB", "RB", "LB"].includes(field.object)) {
    const chosen = typed.has(key) ? typed.get(key) : field.shown;
    const input = choiceInput(field, id, chosen, (value) => send(input, value));
    box.append(input);
    if (typed.has(key)) send(input, chosen);
  } else {
    box.append(element("code", {}, field.shown || "(the host's own)"));
  }
}

function drawField(dialog, field, id) {
  const key = dialog.id + "." + field.name;
  const output = element("div", {className: "answer", id: id + "-answer", role: "status"});
  output.dataset.field = field.name;
  const isLabelled = field.typed || (field.choices.length === 0 && ["CB", "LB"].includes(field.object));
  const name = element(isLabelled ? "label" : "span", {className: "label"}, field.name);
  if (isLabelled) name.setAttribute("for", id);
  if (field.required) name.append(element("span", {className: "required"}, "must be filled in"));
  const box = element("div", {className: "input"});
  drawInput(field, key, id, box, answerer(dialog, field, key, output));
  box.append(output);
  const about = [field.kind, field.path, field.default].filter(Boolean).join(" · ");
  box.append(element("p", {className: "about", id: id + "-about"}, about));
  for (const line of field.inherited) box.append(element("p", {className: "about"}, line));
  if (field.findings.length > 0)
    box.append(element("ul", {className: "findings"}, ...field.findings.map((one) => element("li", {}, one))));
  return element("div", {className: "field"}, name, box);
}

// ---- The page ------------------------------------------------------------------------------------------------------

// Every field gets an id of its own, without blanks: names have some, and two dialogs can have the same.
function drawForms(forms) {
  const ids = new Set();
  const idFor = (name) => {
    const wanted = "field-" + name.replace(/\s/g, "_");
    let id = wanted;
    for (let number = 2; ids.has(id); ++number) id = wanted + "-" + number;
    ids.add(id);
    return id;
  };
  byId("forms").replaceChildren(...forms.map((form) => element("section", {"aria-label": form.name + " " + form.id},
    element("h2", {}, form.name + " ", element("span", {className: "id"}, form.id)),
    ...form.fields.map((field) => drawField(form, field, idFor(form.id + "." + field.name))))));
}

// The focus and the caret stay where they are.
function draw(shown) {
  version = shown.version;
  const {id, selectionStart, selectionEnd} = document.activeElement || {};
  byId("file").textContent = shown.file;
  document.title = shown.file;
  byId("language").value = shown.language;
  byId("findings").replaceChildren(...shown.findings.map((one) => element("li", {}, one)));
  drawForms(shown.forms);
  const before = shown.forms.length > 0 ? " as it is now; this is what it was before." : ".";
  say(shown.good ? "" : "The server refuses the file" + before);
  const focused = id && byId(id);
  if (!focused) return;
  focused.focus();
  if (typeof selectionStart === "number") focused.setSelectionRange(selectionStart, selectionEnd);
}

// One after the other, and of those that wait the last: whoever runs through the languages gets the one he stops at.
let opening = Promise.resolve();
let wanted = 0;

function open(language) {
  const turn = ++wanted;
  const next = opening.then(() => turn === wanted ? openNow(language) : undefined);
  opening = next.catch(() => {});
  return next;
}

async function openNow(language) {
  const before = page;
  const shown = await ask("open", language === undefined ? {} : {language});
  page = shown.page;
  if (before) ask("close", {page: before}).catch(() => {});
  draw(shown);
}

// Asks again and again; an answer comes when the files have changed, or after a while.
async function follow() {
  for (;;) {
    const asked = page;
    try {
      const shown = await ask("wait", {page, version});
      if (asked === page && shown.forms) draw(shown);
    } catch (failure) {
      if (asked !== page) continue;
      say(failure.message);
      if (failure.status === GONE) return;
      await new Promise((resolve) => setTimeout(resolve, 1000));
      if (failure.status === 404) await open(byId("language").value).catch(() => {});  // it was idle for too long
    }
  }
}

async function start() {
  try {
    const {languages, language} = await ask("languages", {});
    const select = byId("language");
    select.append(element("option", {value: ""}, "as the server finds it"),
      ...languages.map((one) => element("option", {value: one, selected: one === language}, one)));
    select.addEventListener("change", () => open(select.value).catch((failure) => say(failure.message)));
    await open();
    follow();
  } catch (failure) {
    say(failure.message);
  }
}

addEventListener("pagehide", () => {
  if (page) navigator.sendBeacon("close", JSON.stringify({page}));
});
start();
