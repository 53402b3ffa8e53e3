// SPDX-License-Identifier: MIT
// The screens behind the first two.

import * as expect from "./expect.js";
import * as faults from "./faults.js";
import * as journal from "./journal.js";
import * as phones from "./phones.js";
import * as recordings from "./recordings.js";
import * as scenarios from "./scenarios.js";
import * as snapshots from "./snapshots.js";
import * as time from "./time.js";

export const screens = [journal.screen, faults.screen, time.screen, snapshots.screen, phones.screen, expect.screen, scenarios.screen, recordings.screen];
