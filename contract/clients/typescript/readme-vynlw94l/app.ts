import { Refused, Router } from "kt7094hzm-client";
import { dryRun, unknownKeys } from "kt7094hzm-client/dry-run";

const router = new Router({ url: "http://127.0.0.1:16448/app/app.cgi", user: "admin", password: "admin" });
const { lan, opMode } = await router.get("lan", "opMode");
console.log(lan.ip, opMode.opMode); // 192.168.1.1 0
await router.set({ app: { port: 8443 } });
const { netDig } = await router.read({ netDig: { ping: { dst: "192.168.1.1" } } }, { timeout: 20000 });
console.log(netDig.ping?.split("\n")[0]); // PING 192.168.1.1 (192.168.1.1): 56 data bytes
try {
  await router.set({ wifi: { combine: 1, ssid: "" } });
} catch (error) {
  if (!(error instanceof Refused)) throw error;
  console.log(error.object, error.code, error.cause); // wifi -1 "ssid" is empty or has more than 32 bytes
}
const request = { action: "set", wifi: { ssidd: "Attic" } };
console.log(unknownKeys(request)[0]?.meant); // ssid
console.log(dryRun(request).at(-1)?.cause); // "combine" is missing
await router.logout();
