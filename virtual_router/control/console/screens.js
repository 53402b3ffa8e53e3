// SPDX-License-Identifier: MIT
// The screens behind the first two.

import * as journal from "./journal.js";

export const screens = [journal.screen];
