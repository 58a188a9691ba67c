// Direct entry: a field a setting. A field without the focus shows the present value; Enter applies what is typed,
// Escape takes the present value back. The text goes to the server as it is; the server knows the units.

const units = {
  center: [[1e9, "GHz"], [1e6, "MHz"], [1e3, "kHz"], [1, "Hz"]],
  span: [[1e9, "GHz"], [1e6, "MHz"], [1e3, "kHz"], [1, "Hz"]],
  reference: [[1, "dBm"]],
};

// All digits, in the largest unit that is not larger than the value.
export function valueText(name, value) {
  const rows = units[name];
  const [factor, unit] = rows.find(([factor]) => Math.abs(value) >= factor) ?? (value ? rows.at(-1) : rows.at(-3) ?? rows[0]);
  return `${Number((value / factor).toFixed(9))} ${unit}`;
}

export class Fields {
  // send: takes a message to the server; false when there is no connection. tell: shows a line to the user.
  constructor(inputs, send, tell) {
    this.send = send;
    this.tell = tell;
    this.fields = new Map();
    for (const input of inputs) {
      const field = {input, label: input.labels[0].textContent, value: undefined, typed: ""};
      this.fields.set(input.dataset.set, field);
      input.addEventListener("focus", () => input.select());
      input.addEventListener("input", () => this.mark(field, false));
      input.addEventListener("blur", () => this.restore(input.dataset.set));
      input.addEventListener("keydown", (event) => this.key(event, input.dataset.set));
    }
  }

  key(event, name) {
    if (event.isComposing) return;
    if (event.key === "Enter") this.apply(name);
    else if (event.key === "Escape") this.fields.get(name).input.blur();
    else return;
    event.preventDefault();
  }

  apply(name) {
    const field = this.fields.get(name);
    field.typed = field.input.value.trim();
    if (!field.typed || field.input.value === this.present(name)) return field.input.blur();
    if (this.send({set: name, value: field.typed})) return;
    this.mark(field, true);
    this.tell("Not connected");
  }

  present(name) {
    const {value} = this.fields.get(name);
    return value === undefined ? "" : valueText(name, value);
  }

  restore(name) {
    const field = this.fields.get(name);
    field.input.value = this.present(name);
    this.mark(field, false);
  }

  mark(field, refused) {
    field.input.setAttribute("aria-invalid", refused);
  }

  // The instrument's state: what it does not tell is not known.
  show(state) {
    for (const [name, field] of this.fields) {
      field.value = state[name];
      field.input.disabled = field.value === undefined;
      if (document.activeElement !== field.input) this.restore(name);
    }
  }

  // The server's answer to an entry.
  answer({set, value, error}) {
    const field = this.fields.get(set);
    if (!field) return;
    if (error) {
      if (document.activeElement === field.input) this.mark(field, true);
      return;
    }
    if (value !== undefined) field.value = value;
    if (document.activeElement === field.input && field.input.value.trim() === field.typed) field.input.blur();
    else if (document.activeElement !== field.input) this.restore(set);
  }
}
