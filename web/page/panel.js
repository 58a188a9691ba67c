// The front panel: keys, shortcuts, connection.
import {Screen} from "/screen.js";
import {Knob} from "/knob.js";
import {Fields} from "/fields.js";
import {Console} from "/console.js";

const $ = (id) => document.getElementById(id);

// Name, key code, shortcut letter.
const hardKeys = {
  "function-keys": [
    ["Frequency", 0, "f"], ["Span", 1, "s"], ["Amplitude", 2, "a"], ["Autoset", 3, "u"],
    ["BW", 4, "b"], ["Measure", 5, "e"], ["Trace", 6, "t"], ["Display", 7, "d"],
    ["Sweep", 8, "w"], ["Sweep mode", 12], ["Trigger", 11, "g"], ["Limit line", 10, "l"],
  ],
  "marker-keys": [["Marker", 16, "m"], ["Marker to", 17, "k"], ["Peak search", 18, "p"], ["EMC", 9, "c"]],
  "file-keys": [["File", 13, "i"], ["Save", 14, "v"], ["Recall", 15, "r"], ["Quick save", 23, "q"]],
  "system-keys": [["Mode", 20, "o"], ["Sequence", 19, "n"], ["System", 21, "y"], ["Preset", 22]],
};
const pad = [
  ["7"], ["8"], ["9"], ["4"], ["5"], ["6"], ["1"], ["2"], ["3"], ["0"],
  [".", "Decimal point"], ["-", "Minus sign", "−"],
].map(([key, name = key, face = key]) => ({name, face, code: key.charCodeAt(0)}));
const arrows = [["Arrow up", "u", "▲"], ["Arrow left", "l", "◀"], ["Arrow down", "d", "▼"], ["Arrow right", "r", "▶"]];
const softKeyCode = 32, softKeys = 7, softKeyTop = 29, softKeyPitch = 77, softKeyHeight = 70, softKeyLeft = 656;

const shortcuts = new Map([
  ["Enter", "G"], ["Backspace", "B"], ["ArrowUp", "u"], ["ArrowDown", "d"], ["ArrowLeft", "l"], ["ArrowRight", "r"],
].map(([key, letter]) => [key, letter.charCodeAt(0)]));
for (const {code} of pad) shortcuts.set(String.fromCharCode(code), code);
shortcuts.set(",", ".".charCodeAt(0));
shortcuts.set("[", 119);
shortcuts.set("]", 122);

let socket, screen, fields, offSaid = false, powerPressed = false, retry = 500, noticeTimer;

function send(message) {
  if (socket?.readyState !== WebSocket.OPEN) return false;
  socket.send(JSON.stringify(message));
  return true;
}

function press(code) {
  if (!send({key: code})) return;
  const button = document.querySelector(`button[data-key="${code}"]`);
  if (!button) return;
  button.classList.add("pressed");
  setTimeout(() => button.classList.remove("pressed"), 120);
}

function addKey(parent, {name, code, face = name, letter, title, className}) {
  const button = document.createElement("button");
  button.type = "button";
  button.dataset.key = code;
  button.setAttribute("aria-label", name);
  button.title = title ?? (letter ? `${name} (${letter})` : name);
  if (className) button.className = className;
  const place = letter ? face.toLowerCase().indexOf(letter) : -1;
  if (place < 0) {
    button.textContent = face;
  } else {
    const underlined = document.createElement("u");
    underlined.textContent = face[place];
    button.append(face.slice(0, place), underlined, face.slice(place + 1));
  }
  parent.append(button);
  if (letter) shortcuts.set(letter, code);
  return button;
}

function buildKeys() {
  for (const [group, keys] of Object.entries(hardKeys))
    for (const [name, code, letter] of keys) addKey($(group), {name, code, letter});
  for (let i = 0; i < softKeys; ++i) {
    const key = addKey($("softkeys"), {name: `Soft key ${i + 1}`, code: softKeyCode + i, face: `F${i + 1}`});
    key.style.top = `${(softKeyTop + softKeyPitch * i) / 6}%`;
    shortcuts.set(`F${i + 1}`, softKeyCode + i);
  }
  for (const key of pad) addKey($("pad"), key);
  addKey($("pad"), {name: "Backspace", code: 66, face: "⌫"});
  addKey($("pad"), {name: "Enter", code: 71, className: "word enter"});
  for (const [name, letter, face] of arrows) addKey($("arrows"), {name, face, code: letter.charCodeAt(0)});
  addKey($("knob-keys"), {name: "Knob left", code: 119, face: "↺", title: "Knob left ([)"});
  addKey($("knob-keys"), {name: "Knob right", code: 122, face: "↻", title: "Knob right (])"});

  $("instrument").addEventListener("click", (event) => {
    const button = event.target.closest("button[data-key]");
    if (button) press(Number(button.dataset.key));
  });
  // A click on a key leaves the focus where it is, so that Enter stays the instrument's key; only a field gives it up.
  $("instrument").addEventListener("mousedown", (event) => {
    if (!event.target.closest("button[data-key], canvas")) return;
    event.preventDefault();
    if (document.activeElement instanceof HTMLInputElement) document.activeElement.blur();
  });
}

function softKeyAt(event) {
  const box = $("screen").getBoundingClientRect();
  const x = (event.clientX - box.left) * 800 / box.width, y = (event.clientY - box.top) * 600 / box.height;
  const i = Math.floor((y - softKeyTop) / softKeyPitch);
  if (x < softKeyLeft || i < 0 || i >= softKeys || y - softKeyTop - i * softKeyPitch > softKeyHeight) return undefined;
  return softKeyCode + i;
}

function listenToScreen() {
  $("screen").addEventListener("click", (event) => {
    const code = softKeyAt(event);
    if (code !== undefined) press(code);
  });
  $("screen").addEventListener("pointermove", (event) =>
    $("screen").classList.toggle("over-key", softKeyAt(event) !== undefined));
}

function listenToKeyboard() {
  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey || $("power-dialog").open) return;
    const focused = document.activeElement;
    if (focused instanceof HTMLInputElement || focused?.closest("#console")) return;
    if (event.key === "Enter" && focused instanceof HTMLButtonElement) return;  // the focused key is pressed
    const code = shortcuts.get(event.key.length === 1 ? event.key.toLowerCase() : event.key);
    if (code === undefined) return;
    event.preventDefault();
    press(code);
  });
}

function listenToPower() {
  const dialog = $("power-dialog");
  $("power").addEventListener("click", () => {
    dialog.returnValue = "";
    dialog.showModal();
  });
  dialog.addEventListener("close", () => {
    if (dialog.returnValue === "off" && send({power: true})) powerPressed = true;
  });
}

function banner(text, quiet = false) {
  $("banner").hidden = !text;
  $("banner").textContent = text;
  $("banner").classList.toggle("quiet", quiet);
  document.body.classList.toggle("lost", Boolean(text));
}

function notice(text) {
  $("notice").textContent = text;
  $("notice").hidden = false;
  clearTimeout(noticeTimer);
  noticeTimer = setTimeout(() => { $("notice").hidden = true; }, 2500);
}

const instrumentOff = () => banner("The instrument is off", true);

// The warning tone. A browser lets it sound once the page has been touched.
let beeps, sound;
function beep(count) {
  const another = beeps !== undefined && count > beeps;
  beeps = count;
  if (!another || !window.AudioContext) return;
  sound ??= new AudioContext();
  const tone = new OscillatorNode(sound, {frequency: 880});
  tone.connect(new GainNode(sound, {gain: 0.2})).connect(sound.destination);
  tone.start();
  tone.stop(sound.currentTime + 0.12);
}

function hear(message) {
  if (message.error) {
    powerPressed = false;
    notice(message.error[0].toUpperCase() + message.error.slice(1));
  }
  if (message.set) fields.answer(message);
  if (message.closing) offSaid = true;
  if (!message.instrument) return;
  if (message.instrument === "off") instrumentOff();
  else banner("");
  offSaid = message.instrument === "off";
  fields.show(message);
  $("remote").hidden = !message.remote;
  if (message.beeps !== undefined) beep(message.beeps);
  if (message.model) $("model").textContent = message.model.replace(/^KVA/, "");
}

function connect() {
  const mine = socket = new WebSocket(`ws://${location.host}/live`);
  mine.binaryType = "arraybuffer";
  mine.onopen = () => {
    retry = 500;
    powerPressed = offSaid = false;
    screen.reset();
    banner("");
  };
  mine.onmessage = ({data}) => {
    if (typeof data === "string") hear(JSON.parse(data));
    else screen.show(data).catch(() => mine.close());
  };
  mine.onclose = () => {
    if (offSaid || powerPressed) instrumentOff();
    else banner("Connection lost – reconnecting…");
    fields.show({});
    $("notice").hidden = true;
    setTimeout(connect, retry);
    retry = Math.min(retry * 1.5, 4000);
  };
}

buildKeys();
listenToScreen();
listenToKeyboard();
listenToPower();
screen = new Screen($("screen"));
fields = new Fields(document.querySelectorAll("input[data-set]"), send, notice);
new Knob($("knob"), press);
new Console($("console-form"), $("console-log"));
connect();
