// The live screen: puts the server's messages onto the canvas. A message is a byte for its kind, a zero, the number of
// tiles, then a zlib stream: the tiles' indices, then their pixels exclusive-or'ed with what is shown now.

const width = 800, tileWidth = 40, tileHeight = 20, tilesAcross = width / tileWidth, headerBytes = 4, deltaKind = 1;

const inflate = async (bytes) =>
  new Uint8Array(await new Response(new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate")))
    .arrayBuffer());

export class Screen {
  constructor(canvas) {
    this.context = canvas.getContext("2d", {alpha: false});
    this.reset();
  }

  // A new connection starts from black. What is on the canvas stays until the first message covers it.
  reset() {
    this.image = this.context.createImageData(width, 600);
    new Uint32Array(this.image.data.buffer).fill(new Uint32Array(new Uint8Array([0, 0, 0, 255]).buffer)[0]);
    this.turn = Promise.resolve();
  }

  // Messages build on each other, so one is drawn after the other.
  show(message) {
    const image = this.image;
    this.turn = this.turn.then(async () => {
      const head = new DataView(message);
      if (message.byteLength < headerBytes || head.getUint8(0) !== deltaKind) return;
      const body = await inflate(new Uint8Array(message, headerBytes));
      if (image === this.image) this.apply(body, head.getUint16(2, true));
    });
    return this.turn;
  }

  apply(body, count) {
    const indices = new DataView(body.buffer, body.byteOffset, 2 * count);
    const pixels = this.image.data;
    let from = 2 * count;
    for (let i = 0; i < count; ++i) {
      const index = indices.getUint16(2 * i, true);
      const x = index % tilesAcross * tileWidth, y = Math.floor(index / tilesAcross) * tileHeight;
      for (let row = 0; row < tileHeight; ++row) {
        let to = 4 * ((y + row) * width + x);
        for (let column = 0; column < tileWidth; ++column, from += 3, to += 4) {
          pixels[to] ^= body[from];
          pixels[to + 1] ^= body[from + 1];
          pixels[to + 2] ^= body[from + 2];
        }
      }
      this.context.putImageData(this.image, 0, 0, x, y, tileWidth, tileHeight);
    }
  }
}
