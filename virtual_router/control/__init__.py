# SPDX-License-Identifier: MIT
"""The control port: what is seen of a running router, and done to it, over HTTP. docs/control.md describes it for its users.

A module here has a table ROUTES of what it answers; routes.py joins the tables, server.py serves them, openapi.py describes them. The
package runs in the keeper's process and uses its modules. It is never reached from the router.
"""
