# SPDX-License-Identifier: MIT
include $(sort $(wildcard $(BR2_EXTERNAL_ROUTER_ENDPOINT_PATH)/package/*/*.mk))
