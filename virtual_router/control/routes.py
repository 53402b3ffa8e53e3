# SPDX-License-Identifier: MIT
"""All that the control port answers. Whoever adds a module adds its table here."""

from . import about, contract, device, noted, pages, phones

ROUTES = (*pages.ROUTES, *about.ROUTES, *contract.ROUTES, *device.ROUTES, *noted.ROUTES, *phones.ROUTES)
