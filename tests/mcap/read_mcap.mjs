// Reads an MCAP file with @mcap/core, the MCAP project's own TypeScript reader, and prints what it
// found as one JSON object: `node read_mcap.mjs FILE indexed` seeks through the summary and chunk
// indexes; `node read_mcap.mjs FILE stream` reads front to back and tolerates a missing summary.
// Exits 3 with one line when @mcap/core is not installed (scripts/install-deps.sh installs it).
import { open, readFile } from "node:fs/promises";

let mcap;
try {
  mcap = await import("@mcap/core");
} catch (error) {
  console.log(`read_mcap: @mcap/core is not installed in tests/mcap (run scripts/install-deps.sh): ${error.code}`);
  process.exit(3);
}

const [file, mode] = process.argv.slice(2);

const messageOf = (m) => ({
  channelId: m.channelId,
  sequence: m.sequence,
  logTime: String(m.logTime),
  publishTime: String(m.publishTime),
  data: Buffer.from(m.data).toString("base64"),
});

const channelOf = (c) => ({
  id: c.id,
  schemaId: c.schemaId,
  topic: c.topic,
  messageEncoding: c.messageEncoding,
  metadata: Object.fromEntries(c.metadata),
});

async function indexed() {
  const handle = await open(file, "r");
  const readable = {
    size: async () => BigInt((await handle.stat()).size),
    read: async (offset, size) => {
      const bytes = new Uint8Array(Number(size));
      await handle.read(bytes, 0, bytes.length, Number(offset));
      return bytes;
    },
  };
  const reader = await McapIndexedReader.Initialize({ readable });
  const messages = [];
  for await (const message of reader.readMessages()) {
    messages.push(messageOf(message));
  }
  await handle.close();
  const s = reader.statistics;
  return {
    channels: [...reader.channelsById.values()].map(channelOf),
    statistics: {
      messageCount: String(s.messageCount),
      channelCount: s.channelCount,
      chunkCount: s.chunkCount,
      channelMessageCounts: Object.fromEntries([...s.channelMessageCounts].map(([k, v]) => [k, String(v)])),
    },
    chunkIndexes: reader.chunkIndexes.length,
    messages,
  };
}

async function stream() {
  const reader = new McapStreamReader({ validateCrcs: true });
  reader.append(new Uint8Array(await readFile(file)));
  const channels = [];
  const messages = [];
  let record;
  while ((record = reader.nextRecord()) !== undefined) {
    if (record.type === "Channel") {
      channels.push(channelOf(record));
    } else if (record.type === "Message") {
      messages.push(messageOf(record));
    }
  }
  return { done: reader.done(), channels, messages };
}

const { McapIndexedReader, McapStreamReader } = mcap;
try {
  console.log(JSON.stringify(mode === "stream" ? await stream() : await indexed()));
} catch (error) {
  console.log(`read_mcap: ${error.message}`);
  process.exit(1);
}
