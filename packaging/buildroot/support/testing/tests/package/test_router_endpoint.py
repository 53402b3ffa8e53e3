# SPDX-License-Identifier: MIT
# Buildroot's test of the package. Copied into its support/testing/tests/package, it is told where this external tree lies:
#
#   ROUTER_ENDPOINT_EXTERNAL=... support/testing/run-tests -d dl -o output tests.package.test_router_endpoint
import os

import infra.basetest

EXTERNAL = os.environ.get("ROUTER_ENDPOINT_EXTERNAL", os.path.join(os.path.dirname(os.path.abspath(__file__)), *[os.pardir] * 4))


class TestRouterEndpoint(infra.basetest.BRTest):
    br2_external = [EXTERNAL]
    config = infra.basetest.BASIC_TOOLCHAIN_CONFIG + \
        """
        BR2_PACKAGE_ROUTER_ENDPOINT=y
        BR2_TARGET_ROOTFS_CPIO=y
        # BR2_TARGET_ROOTFS_TAR is not set
        """

    def test_run(self):
        img = os.path.join(self.builddir, "images", "rootfs.cpio")
        self.emulator.boot(arch="armv5",
                           kernel="builtin",
                           options=["-initrd", img])
        self.emulator.login()

        # A stripped program still tells what it is.
        self.assertRunOk("grep -q '\"name\":\"router-endpoint\"' /web/app/app.cgi")

        # All that is missing is what the firmware supplies.
        output, exit_code = self.emulator.run("/web/app/app.cgi 2>&1 </dev/null")
        self.assertNotEqual(exit_code, 0)
        missing = [line for line in output if ".so" in line]
        self.assertTrue(missing, output)
        for line in missing:
            self.assertRegex(line, r"libapmib\.so|libarpcheck\.so")
