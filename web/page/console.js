// The SCPI console: one message at a time, its answer below it, the last messages on the arrow keys.

const mostLines = 200, mostHistory = 50;

export class Console {
  constructor(form, log) {
    this.form = form;
    this.log = log;
    this.input = form.querySelector("input");
    this.history = [];
    this.place = 0;
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      this.send(this.input.value.trim());
    });
    this.input.addEventListener("keydown", (event) => this.recall(event));
  }

  async send(message) {
    if (!message || this.waiting) return;
    this.keep(message);
    this.input.value = "";
    this.line("asked", message);
    this.wait(true);
    try {
      const response = await fetch("/scpi", {method: "POST", body: message});
      const text = (await response.text()).trimEnd();
      if (!response.ok) this.line("fault", text);
      else if (text) this.line("answered", text);
    } catch {
      this.line("fault", "not connected");
    }
    this.wait(false);
  }

  wait(waiting) {
    this.waiting = waiting;
    this.form.querySelector("button").disabled = waiting;
  }

  keep(message) {
    if (this.history.at(-1) !== message) this.history.push(message);
    if (this.history.length > mostHistory) this.history.shift();
    this.place = this.history.length;
  }

  recall(event) {
    const step = {ArrowUp: -1, ArrowDown: 1}[event.key];
    if (!step) return;
    event.preventDefault();
    this.place = Math.min(Math.max(this.place + step, 0), this.history.length);
    this.input.value = this.history[this.place] ?? "";
  }

  line(kind, text) {
    const line = document.createElement("p");
    line.className = kind;
    line.textContent = text;
    this.log.append(line);
    while (this.log.childElementCount > mostLines) this.log.firstElementChild.remove();
    this.log.scrollTop = this.log.scrollHeight;
  }
}
