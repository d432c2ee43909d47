// SPDX-License-Identifier: LGPL-2.1-or-later
// The emulator's console. Whatever comes from a client of the service is shown by textContent alone.
"use strict";

const byId = (id) => document.getElementById(id);

// By their numbers, as the service's own table has them.
const operations = new Map();

const accountFields = [
  ["userName", "User name"], ["password", "Password"], ["email", "E-mail"], ["mobile", "Mobile"],
  ["firstName", "First name"], ["lastName", "Last name"], ["dateOfBirth", "Date of birth"],
  ["gender", "Gender"], ["language", "Language"], ["country", "Country"],
  ["securityQuestion", "Security question"], ["securityAnswer", "Its answer"]];

function tell(text, isBad = false) {
  byId("message").textContent = text.trim();
  byId("message").className = isBad ? "bad" : "";
}

async function ask(method, path, body) {
  const answer = await fetch(path, { method, body, cache: "no-store" });
  const text = await answer.text();
  if (!answer.ok)
    throw new Error(text);
  return text;
}

const list = async (path) => JSON.parse(await ask("GET", path));

async function order(method, path, body) {
  try {
    tell(await ask(method, path, body));
    await refresh();
    return true;
  } catch (failure) {
    tell(failure.message, true);
    return false;
  }
}

function element(name, text, attributes = {}) {
  const made = document.createElement(name);
  made.textContent = text;
  for (const [key, value] of Object.entries(attributes))
    made.setAttribute(key, value);
  return made;
}

function row(cells) {
  const made = document.createElement("tr");
  for (const cell of cells) {
    const holder = document.createElement("td");
    holder.append(cell instanceof Node ? cell : document.createTextNode(String(cell)));
    made.append(holder);
  }
  return made;
}

function button(text, label, action) {
  const made = element("button", text, { type: "button", "aria-label": label });
  made.addEventListener("click", action);
  return made;
}

// Changes what is shown only when it differs, so that the focus stays where it is.
const shown = new Map();
function show(id, data, children) {
  const text = JSON.stringify(data);
  if (shown.get(id) === text)
    return;
  shown.set(id, text);
  byId(id).replaceChildren(...children(data));
}

// The log keeps bytes, each as one character.
function utf8(bytes) {
  const codes = Array.from(bytes, (letter) => letter.codePointAt(0));
  return codes.some((code) => code > 255) ? bytes
                                          : new TextDecoder().decode(Uint8Array.from(codes));
}

let lastRequest = 0;

async function openRequest(number, opener) {
  try {
    const detail = JSON.parse(await ask("GET", "/requests/" + number));
    byId("detail-title").textContent = "Request " + number;
    byId("detail-steps").replaceChildren(...detail.steps.map((step) => {
      const item = element("li", (step.good ? "Good: " : "Failed: ") + utf8(step.name));
      if (step.detail)
        item.append(element("span", utf8(step.detail), { class: "detail" }));
      return item;
    }));
    byId("detail-document").textContent = utf8(detail.document) || "none";
    byId("detail-reply").textContent = utf8(detail.reply) || "none";
    byId("request-detail").hidden = false;
    byId("request-detail").focus();
    byId("close-detail").onclick = () => {
      byId("request-detail").hidden = true;
      opener.focus();
    };
  } catch (failure) {
    tell(failure.message, true);
  }
}

async function refreshRequests() {
  const rows = byId("request-rows");
  for (const request of await list("/requests?after=" + lastRequest)) {
    lastRequest = request.number;
    const opener = button("Open", "Open request " + request.number,
      () => openRequest(request.number, opener));
    rows.prepend(row([request.number,
      request.operation ? operations.get(request.operation) : "none",
      request.verb + " " + utf8(request.target), request.status,
      (request.microseconds / 1000).toFixed(1) + " ms",
      [request.outcome, request.fault && "fault " + request.fault, utf8(request.problem)]
        .filter(Boolean).join(", "), opener]));
    while (rows.children.length > 200)
      rows.lastChild.remove();
  }
}

let edited = null;

function edit(account) {
  edited = account;
  const form = byId("account-form");
  for (const [name] of accountFields)
    form.elements[name].value = account && account[name] ? account[name] : "";
  byId("account-form-title").textContent =
    account ? "Change account " + account.accountId : "Make an account";
  byId("account-save").textContent = account ? "Change" : "Make";
  byId("account-cancel").hidden = !account;
  if (account)
    form.elements.userName.focus();
}

function accountRow(account) {
  const name = account.userName || account.email;
  const path = "/accounts/" + account.accountId;
  const actions = document.createElement("span");
  actions.append(
    button("Edit", "Edit " + name, () => edit(account)), " ",
    button(account.locked ? "Unlock" : "Lock", (account.locked ? "Unlock " : "Lock ") + name,
      () => order("PATCH", path, JSON.stringify({ locked: !account.locked }))), " ",
    button("Delete", "Delete " + name, () => order("DELETE", path)));
  return row([account.accountId, account.userName, account.email, account.mobile,
    account.locked ? "locked" : "no", actions]);
}

async function saveAccount(event) {
  event.preventDefault();
  const fields = {};
  for (const [name] of accountFields) {
    const value = byId("account-form").elements[name].value;
    const isSecret = name === "password" || name === "securityAnswer";
    if (value || (edited && !isSecret))
      fields[name] = value;
  }
  const done = edited
    ? await order("PATCH", "/accounts/" + edited.accountId, JSON.stringify(fields))
    : await order("POST", "/accounts", JSON.stringify(fields));
  if (done)
    edit(null);
}

function orderFault(event) {
  event.preventDefault();
  const form = byId("fault-form").elements;
  const extents = { one: "", count: form.number.value + "*", time: form.number.value + "s*" };
  const value = form.kind.value.endsWith("=") ? form.value.value : "";
  const operation = form.operation.value ? "@" + form.operation.value : "";
  order("POST", "/faults", extents[form.extent.value] + form.kind.value + value + operation);
}

function setClock(event) {
  event.preventDefault();
  const form = byId("clock-form").elements;
  const wanted = {};
  if (form.skew.value)
    wanted.skew = Number(form.skew.value);
  if (form.time.value)
    wanted.time = form.time.value;
  if (form.speed.value)
    wanted.speed = Number(form.speed.value);
  order("POST", "/clock", JSON.stringify(wanted));
}

function putSimIn(event) {
  event.preventDefault();
  const form = byId("sim-form").elements;
  const sim = { mcc: form.mcc.value, mnc: form.mnc.value, msin: form.msin.value };
  const held = {};
  for (const name of ["userName", "mobile", "country"]) {
    if (form[name].value)
      held[name] = form[name].value;
  }
  if (Object.keys(held).length > 0)
    sim.preAccount = held;
  order("POST", "/sim", JSON.stringify(sim));
}

function setTags(event) {
  event.preventDefault();
  const form = byId("tags-form").elements;
  if (form.kind.value === "none")
    return order("DELETE", "/tags");
  const tags = {};
  if (form.kind.value === "refuse")
    tags.refuse = Number(form.code.value);
  if (form.kind.value === "hang")
    tags.hang = true;
  if (form.kind.value === "issue" && form.tag.value)
    tags.tag = form.tag.value;
  return order("POST", "/tags", JSON.stringify(tags));
}

function describedSim(sim) {
  return sim ? sim.mcc + "-" + sim.mnc + "-" + sim.msin + ", IMEI " + sim.imei : "none";
}

function describedTags(tags) {
  if (!tags)
    return "absent";
  if (tags.hang)
    return "never answered";
  if (tags.refuse !== undefined)
    return "refused with code " + tags.refuse;
  return "issued" + (tags.tag ? ": " + tags.tag : "");
}

async function saveScenario() {
  const link = element("a", "", { download: "scenario.json" });
  link.href = "/scenario";
  link.click();
}

async function loadScenario(event) {
  event.preventDefault();
  order("POST", "/scenario", await byId("scenario-file").files[0].text());
}

let refreshing = Promise.resolve();

// One after the other, so that no request is shown twice.
function refresh() {
  refreshing = refreshing.catch(() => {}).then(refreshAll);
  return refreshing;
}

async function refreshAll() {
  await refreshRequests();
  const ordered = (await ask("GET", "/faults")).split("\n").filter(Boolean);
  show("fault-rows", ordered, (texts) => texts.map((text) => element("li", text)));
  show("account-rows", await list("/accounts"), (accounts) => accounts.map(accountRow));
  show("captcha-rows", await list("/captchas"),
    (captchas) => captchas.map((captcha) => row([captcha.id, captcha.text])));
  show("inbox-rows", await list("/inbox"), (messages) => messages.flatMap((message) => [
    element("h3", message.sent + ", to " + message.recipient + " (" + message.user + ")"),
    element("pre", message.text, { tabindex: "0" })]));
  const clock = await list("/clock");
  byId("clock-time").textContent = clock.time;
  byId("clock-skew").textContent = clock.skew;
  byId("clock-speed").textContent = clock.speed;
  const device = await list("/device");
  byId("sim").textContent = describedSim(device.sim);
  byId("tags").textContent = describedTags(device.tags);
}

async function start() {
  for (const operation of await list("/operations")) {
    operations.set(operation.number,
      operation.number + " " + operation.verb + " " + operation.path);
    byId("fault-operation").append(element("option", operations.get(operation.number),
      { value: operation.number }));
  }
  for (const name of await list("/faults/known"))
    byId("fault-kind").append(element("option", name, { value: name }));
  for (const [name, text] of accountFields) {
    const holder = document.createElement("div");
    holder.append(element("label", text, { for: "account-" + name }),
      element("input", "", { id: "account-" + name, name, autocomplete: "off" }));
    byId("account-fields").append(holder);
  }
  byId("account-form").addEventListener("submit", saveAccount);
  byId("account-cancel").addEventListener("click", () => edit(null));
  byId("fault-form").addEventListener("submit", orderFault);
  byId("clock-form").addEventListener("submit", setClock);
  byId("sim-form").addEventListener("submit", putSimIn);
  byId("remove-sim").addEventListener("click", () => order("DELETE", "/sim"));
  byId("tags-form").addEventListener("submit", setTags);
  byId("scenario-form").addEventListener("submit", loadScenario);
  byId("save-scenario").addEventListener("click", saveScenario);
  byId("clear-faults").addEventListener("click", () => order("DELETE", "/faults"));
  byId("refuse").addEventListener("click", () => order("POST", "/refuse"));
  byId("accept").addEventListener("click", () => order("POST", "/accept"));
  byId("expire").addEventListener("click", () => order("POST", "/tokens/expire"));
  byId("forget-requests").addEventListener("click", async () => {
    if (await order("DELETE", "/requests"))
      byId("request-rows").replaceChildren();
  });
  const again = async () => {
    try {
      await refresh();
    } catch (failure) {
      tell("No emulator answers: " + failure.message, true);
    }
    setTimeout(again, 1000);
  };
  again();
}

start().catch((failure) => tell("No emulator answers: " + failure.message, true));
