// SPDX-License-Identifier: MIT
// The screens behind the first two.

export const screens = [];
