# SPDX-License-Identifier: MIT
"""All files that are made from the contract, as path -> text."""

import json

import bench_rows
import catalogue
import new_page
import openapi
import requests_collection
import schemas
import tables
import types_dryrun
import types_kotlin
import types_python
import types_typescript


def as_json(document):
    return json.dumps(document, indent=2, ensure_ascii=False) + "\n"


def all_files(contract, project):
    folder = project / "contract"
    made = schemas.Schemas(contract, ref=lambda name: {"$ref": name}).files()
    files = {folder / "schema" / name: as_json(schema) for name, schema in made.items()}
    files[folder / "openapi.json"] = as_json(openapi.document(contract, project))
    files[folder / "contract.json"] = as_json({"order": contract.order, "protocol": contract.protocol, "objects": contract.objects})
    for name, facts in contract.objects.items():
        page = project / f"docs/objects/{name}.md"
        files[page] = tables.splice(page.read_text() if page.exists() else new_page.text(name, facts), tables.tables_of(facts))
    overview = project / "docs/objects/README.md"
    files[overview] = tables.splice(overview.read_text(), {"objects": tables.overview(contract)})
    files[project / "bench/made_kinds.inc"] = bench_rows.text(contract)
    files[project / "docs/messages.md"] = catalogue.page(contract)
    files[folder / "clients/typescript/src/types.ts"] = types_typescript.text(contract)
    files[folder / "clients/python/kt7094hzm/types.py"] = types_python.text(contract)
    files[folder / "clients/kotlin/Types.kt"] = types_kotlin.text(contract)
    files[folder / "clients/typescript/src/contract.ts"] = types_dryrun.typescript(contract)
    files[folder / "clients/python/kt7094hzm/dry_run/contract.json"] = types_dryrun.python(contract)
    files |= {folder / "requests" / name: text for name, text in requests_collection.files(contract).items()}
    return files


def stale_files(project, wanted):
    """Files that stand where only made ones do, and that are no longer made."""
    folder = project / "contract"
    found = [*folder.glob("schema/*.json"), *folder.glob("requests/*.http")]
    return sorted(path for path in found if path not in wanted)
