// SPDX-License-Identifier: MIT
// Prints who comes and goes: node devices.mjs http://127.0.0.1:8080/app/app.cgi [LOOKS]
import { Refused, Router } from "kt7094hzm-client";

const router = new Router({
  url: process.argv[2] ?? "http://127.0.0.1:8080/app/app.cgi",
  onSessionLost: () => console.log("somebody else has logged in; logging in again"),
});
let looks = Number(process.argv[3] ?? Infinity);

const { model, name } = await router.scan();
console.log(`${name} (${model})`);
try {
  await router.set({ dutInfo: { name: "x".repeat(31) } });
} catch (error) {
  if (!(error instanceof Refused)) throw error;
  console.log(`too long a name: ${error.cause}`);
}
for await (const { devices, joined, left } of router.watchDevices({ interval: 1000 })) {
  for (const device of joined) console.log(`+ ${device.name || device.mac} ${device.ip} ${device.conType}`);
  for (const device of left) console.log(`- ${device.name || device.mac}`);
  console.log(`${devices.length} devices`);
  if (--looks <= 0) break;
}
await router.logout();
