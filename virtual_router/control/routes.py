# SPDX-License-Identifier: MIT
"""All that the control port answers. Whoever adds a module adds it here."""

from . import about, contract, device, expect, noted, pages, phones, played, snapshots

MODULES = (
    pages,
    about,
    contract,
    device,
    noted,
    phones,
    expect,
    played,
    snapshots,
)
ROUTES = tuple(found for module in MODULES for found in module.ROUTES)
