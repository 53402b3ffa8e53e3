################################################################################
#
# router-endpoint
#
################################################################################

# SPDX-License-Identifier: MIT
# The source tree in which this external tree lies.
ROUTER_ENDPOINT_VERSION = 1.0.0
ROUTER_ENDPOINT_SITE = $(BR2_EXTERNAL_ROUTER_ENDPOINT_PATH)/../..
ROUTER_ENDPOINT_SITE_METHOD = local
ROUTER_ENDPOINT_LICENSE = MIT
ROUTER_ENDPOINT_LICENSE_FILES = LICENSE
ROUTER_ENDPOINT_DEPENDENCIES = cjson
ROUTER_ENDPOINT_SUPPORTS_IN_SOURCE_BUILD = NO
ROUTER_ENDPOINT_CONF_OPTS = -DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_INSTALL_PREFIX=/ -DVIRTUAL_ROUTER=OFF -DCJSON=system

$(eval $(cmake-package))
