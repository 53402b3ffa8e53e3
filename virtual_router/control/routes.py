# SPDX-License-Identifier: MIT
"""All that the control port answers. Whoever adds a module adds its table here."""

from . import about, device, pages, phones

ROUTES = (*pages.ROUTES, *about.ROUTES, *device.ROUTES, *phones.ROUTES)
