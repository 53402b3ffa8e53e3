// SPDX-License-Identifier: MIT
// The contract's keys and steps. Made from contract/tool/types_dryrun.py by contract/make: do not edit.
export const contract = {
 "order": [
  "dutInfo",
  "wanInfo",
  "wanAdvance",
  "wanStatus",
  "wifi",
  "wifiAdvance",
  "wifiguest",
  "wps",
  "wifiAcc",
  "opMode",
  "timeZone",
  "lan",
  "lanStatus",
  "logout",
  "sys",
  "mesh",
  "meshStatus",
  "Sec",
  "netAcc",
  "urlfilter",
  "netDig",
  "app",
  "qos"
 ],
 "objects": {
  "dutInfo": {
   "get": {
    "keys": {},
    "steps": [
     {
      "run": "ifconfig br0"
     }
    ]
   },
   "set": {
    "keys": {
     "name": {
      "type": "string",
      "bytes": [
       0,
       30
      ]
     },
     "init": {
      "type": "number"
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "name breaks",
      "cause": "\"name\" has 31 bytes or more"
     },
     {
      "write": "MIB_DUT_NAME",
      "when": "name text"
     },
     {
      "write": "MIB_DUT_INIT",
      "when": "init given"
     },
     {
      "commit": true
     }
    ]
   }
  },
  "wanInfo": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "type": {
      "type": [
       "string",
       "number"
      ],
      "counts": "low byte"
     },
     "dnsmode": {
      "type": "number"
     },
     "ip": {
      "type": "string",
      "bytes": [
       0,
       63
      ]
     },
     "mask": {
      "type": "string",
      "bytes": [
       0,
       63
      ]
     },
     "gateway": {
      "type": "string",
      "bytes": [
       0,
       63
      ]
     },
     "dns1": {
      "type": "string",
      "bytes": [
       0,
       63
      ]
     },
     "dns2": {
      "type": "string",
      "bytes": [
       0,
       63
      ]
     },
     "pppUsr": {
      "type": "string",
      "bytes": [
       0,
       128
      ]
     },
     "pppPwd": {
      "type": "string",
      "bytes": [
       0,
       128
      ]
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "type missing",
      "cause": "\"type\" is missing"
     },
     {
      "refuse": "",
      "when": "type = 0 and ip text and not mask text",
      "cause": "type 0 has an \"ip\" without a \"mask\""
     },
     {
      "refuse": "ERROR: Not find ppp user or pwd info\n",
      "when": "type = 3 and not (pppUsr text and pppPwd text)",
      "cause": "type 3 without \"pppUsr\" or \"pppPwd\", or one is no string"
     },
     {
      "refuse": "ERROR: the pppUsr or pppPwd lenght should <129",
      "when": "type = 3 and (pppUsr breaks or pppPwd breaks)",
      "cause": "one of them has 129 bytes or more"
     },
     {
      "write": "MIB_SET_WAN_IP",
      "when": "type = 0 and ip text and not ip breaks"
     },
     {
      "write": "MIB_SET_WAN_MASK",
      "when": "type = 0 and ip text and not mask breaks"
     },
     {
      "write": "MIB_SET_WAN_GATEWAY",
      "when": "type = 0 and ip text and gateway text and not gateway breaks"
     },
     {
      "write": [
       "MIB_SET_PPP_USER_NAME",
       "MIB_SET_PPP_PASSWORD"
      ],
      "when": "type = 3"
     },
     {
      "write": "MIB_SET_WAN_DNS1",
      "when": "(type = 0 or dnsmode != 0) and dns1 text and not dns1 breaks"
     },
     {
      "write": "MIB_SET_WAN_DNS2",
      "when": "(type = 0 or dnsmode != 0) and dns2 text and not dns2 breaks"
     },
     {
      "write": [
       "MIB_SET_WAN_DNS_MODE",
       "MIB_SET_WAN_TYPE20_FLAG"
      ]
     },
     {
      "write": "MIB_SET_WAN_TYPE",
      "when": "type = 0 or type = 1 or type = 3"
     },
     {
      "commit": true
     },
     {
      "restart": "wan"
     }
    ]
   }
  },
  "wanAdvance": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "mtu": {
      "type": "number"
     }
    },
    "steps": [
     {
      "refuse": "ERROR: current mode not support set MTU",
      "when": "mtu given",
      "state": "the type of the connection is none of 0, 1 and 3",
      "cause": "the connection is of another type; what \"wanInfo\" sets never leads here"
     },
     {
      "refuse": "ERROR: the MTU size should in range 1400-1500",
      "when": "mtu outside 1400 1500",
      "state": "the connection has a static address",
      "cause": "out of range with a static address"
     },
     {
      "refuse": "ERROR: the MTU size should in range 1280-1500",
      "when": "mtu outside 1280 1500",
      "state": "the connection is DHCP",
      "cause": "out of range with DHCP"
     },
     {
      "refuse": "ERROR: the MTU size should in range 1360-1492",
      "when": "mtu outside 1360 1492",
      "state": "the connection is PPPoE",
      "cause": "out of range with PPPoE"
     },
     {
      "write": "MIB_FIXED_IP_MTU",
      "when": "mtu given",
      "state": "with a static address"
     },
     {
      "write": "MIB_DHCP_MTU",
      "when": "mtu given",
      "state": "with DHCP"
     },
     {
      "write": "MIB_PPP_MTU",
      "when": "mtu given",
      "state": "with PPPoE"
     },
     {
      "commit": true,
      "when": "mtu given"
     },
     {
      "restart": "all",
      "when": "mtu given"
     }
    ]
   }
  },
  "wanStatus": {
   "get": {
    "keys": {
     "getInternetSta": {
      "type": "number"
     },
     "reportToServer": {
      "type": "number"
     },
     "reportCount": {
      "type": "number",
      "range": [
       1,
       1000
      ]
     },
     "reportInterval": {
      "type": "number",
      "range": [
       2,
       30
      ]
     }
    },
    "steps": [
     {
      "run": "killall -USR1 speedtest 2>/dev/null"
     },
     {
      "send": "MSG_APP_START_SPEEDTEST",
      "state": "the speed sampler does not run"
     },
     {
      "refuse": "ERROR: send MSG_APP_START_SPEEDTEST fail",
      "state": "the sampler does not run, and the queue of the system daemon can't be used",
      "cause": "the sampler does not run, and the system daemon can't be told"
     },
     {
      "refuse": "ERROR: reportCount out of range(1~1000)",
      "when": "reportCount breaks",
      "cause": "\"reportCount\" is there and not 1 to 1000, also without \"reportToServer\""
     },
     {
      "refuse": "ERROR: reportInterval out of range(2~30 s)",
      "when": "reportInterval breaks",
      "cause": "the same for \"reportInterval\" and 2 to 30"
     },
     {
      "send": "MSG_APP_REPORTOSERVER_WANSTA",
      "when": "reportToServer = 1"
     },
     {
      "refuse": "ERROR: send MSG_APP_REPORTOSERVER_WANSTA fail",
      "when": "reportToServer = 1",
      "state": "the queue of the system daemon can't be used",
      "cause": "the system daemon can't be told of the report"
     }
    ]
   }
  },
  "wifi": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "combine": {
      "type": [
       "string",
       "number"
      ],
      "counts": "low byte of a text"
     },
     "ssid": {
      "type": "string",
      "bytes": [
       1,
       32
      ]
     },
     "wifiPwd": {
      "type": "string",
      "bytes": [
       8,
       64
      ]
     },
     "ssid5": {
      "type": "string",
      "bytes": [
       1,
       32
      ]
     },
     "wifiPwd5": {
      "type": "string",
      "bytes": [
       8,
       64
      ]
     },
     "asSysPwd": {
      "type": "string",
      "counts": "low byte of a text"
     }
    },
    "steps": [
     {
      "refuse": "ERROR: Not find combine type info\n",
      "when": "combine missing",
      "cause": "\"combine\" is missing"
     },
     {
      "refuse": "ERROR:SSID len is null or too long\n",
      "when": "ssid breaks",
      "cause": "\"ssid\" is empty or has more than 32 bytes"
     },
     {
      "refuse": "ERROR:password len is too short or too long\n",
      "when": "ssid text and wifiPwd breaks",
      "cause": "\"wifiPwd\", together with \"ssid\", has less than 8 or more than 64 bytes"
     },
     {
      "write": "MIB_WLAN_WPA_PSK@wlan1",
      "when": "ssid text and wifiPwd text"
     },
     {
      "write": [
       "MIB_WLAN_SECURITY_MODE@wlan1",
       "MIB_WLAN_SECURITY_PARAM_38@wlan1",
       "MIB_WLAN_SECURITY_PARAM_28@wlan1",
       "MIB_WLAN_SECURITY_PARAM_274@wlan1",
       "MIB_WLAN_SECURITY_PARAM_275@wlan1",
       "MIB_WLAN_SECURITY_PARAM_272@wlan1"
      ],
      "when": "ssid text and wifiPwd text",
      "state": "the network is open"
     },
     {
      "write": "MIB_WLAN_SSID@wlan1",
      "when": "ssid text"
     },
     {
      "write": "MIB_WLAN_SSID@wlan0",
      "when": "(combine = 1 and ssid text) or (combine != 1 and ssid5 text and not ssid5 breaks)"
     },
     {
      "write": "MIB_WLAN_WPA_PSK@wlan0",
      "when": "(combine = 1 and ssid text and wifiPwd text) or (combine != 1 and ssid5 text and ((wifiPwd5 text and not wifiPwd5 breaks) or (wifiPwd5 missing and wifiPwd text and not wifiPwd breaks)))"
     },
     {
      "write": [
       "MIB_WLAN_SECURITY_MODE@wlan0",
       "MIB_WLAN_SECURITY_PARAM_38@wlan0",
       "MIB_WLAN_SECURITY_PARAM_28@wlan0",
       "MIB_WLAN_SECURITY_PARAM_274@wlan0",
       "MIB_WLAN_SECURITY_PARAM_275@wlan0",
       "MIB_WLAN_SECURITY_PARAM_272@wlan0"
      ],
      "when": "(combine = 1 and ssid text and wifiPwd text) or (combine != 1 and ssid5 text and ((wifiPwd5 text and not wifiPwd5 breaks) or (wifiPwd5 missing and wifiPwd text and not wifiPwd breaks)))",
      "state": "the network is open"
     },
     {
      "write": "MIB_USER_NAME",
      "when": "asSysPwd text and asSysPwd = 1 and wifiPwd text and not wifiPwd breaks",
      "state": "the administrator has no name"
     },
     {
      "write": "MIB_USER_PASSWORD",
      "when": "asSysPwd text and asSysPwd = 1 and wifiPwd text and not wifiPwd breaks"
     },
     {
      "write": "MIB_DUT_INIT",
      "state": "it is not 1 yet"
     },
     {
      "commit": true
     },
     {
      "restart": "wifi"
     }
    ]
   }
  },
  "wifiAdvance": {
   "get": {
    "keys": {
     "channel": {
      "type": "any"
     },
     "channel5": {
      "type": "any"
     },
     "channellst": {
      "type": "any"
     },
     "channellst5": {
      "type": "any"
     },
     "disable": {
      "type": "any"
     },
     "disable5": {
      "type": "any"
     }
    },
    "steps": []
   },
   "set": {
    "keys": {
     "disable": {
      "type": "number",
      "range": [
       0,
       1
      ]
     },
     "disable5": {
      "type": "number",
      "range": [
       0,
       1
      ]
     },
     "channel": {
      "type": "number",
      "least": 0
     },
     "channel5": {
      "type": "number",
      "least": 0
     }
    },
    "steps": [
     {
      "refuse": "ERROR: Not find combine type info\n",
      "when": "disable breaks",
      "cause": "any value out of its limits. The text is that of another object on purpose"
     },
     {
      "write": "MIB_WLAN_DISABLED@wlan1",
      "when": "disable given"
     },
     {
      "refuse": "ERROR: Not find combine type info\n",
      "when": "disable5 breaks",
      "cause": "any value out of its limits. The text is that of another object on purpose"
     },
     {
      "write": "MIB_WLAN_DISABLED@wlan0",
      "when": "disable5 given"
     },
     {
      "refuse": "ERROR: Not find combine type info\n",
      "when": "channel breaks",
      "cause": "any value out of its limits. The text is that of another object on purpose"
     },
     {
      "write": "MIB_WLAN_CHANNEL@wlan1",
      "when": "channel given"
     },
     {
      "refuse": "ERROR: Not find combine type info\n",
      "when": "channel5 breaks",
      "cause": "any value out of its limits. The text is that of another object on purpose"
     },
     {
      "write": "MIB_WLAN_CHANNEL@wlan0",
      "when": "channel5 given"
     },
     {
      "commit": true
     },
     {
      "restart": "all"
     }
    ]
   }
  },
  "wifiguest": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "enable": {
      "type": "number"
     },
     "ssid": {
      "type": "string",
      "bytes": [
       1,
       32
      ]
     },
     "wifiPwd": {
      "type": "string",
      "bytes": [
       8,
       64
      ]
     },
     "ssid5": {
      "type": "string",
      "bytes": [
       1,
       32
      ]
     },
     "wifiPwd5": {
      "type": "string",
      "bytes": [
       8,
       64
      ]
     },
     "duration": {
      "type": "number"
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "enable missing",
      "cause": "\"enable\" is missing"
     },
     {
      "refuse": "ERROR: No ssid5 string format error",
      "when": "ssid5 given and not ssid5 text",
      "cause": "\"ssid5\" is no string"
     },
     {
      "refuse": "ERROR:SSID len is too long\n",
      "when": "ssid5 breaks",
      "cause": "\"ssid5\" is empty or has more than 32 bytes"
     },
     {
      "refuse": "ERROR:password len is too short or too long",
      "when": "wifiPwd5 breaks or (wifiPwd5 given and not wifiPwd5 text)",
      "cause": "\"wifiPwd5\" has less than 8 or more than 64 bytes, or is no string"
     },
     {
      "refuse": "ERROR: No ssid or wifiPwd string",
      "when": "ssid given and not (ssid text and wifiPwd text)",
      "cause": "\"ssid\" without \"wifiPwd\", or one of them is no string"
     },
     {
      "refuse": "ERROR:SSID len is too long\n",
      "when": "ssid breaks",
      "cause": "\"ssid\" is empty or has more than 32 bytes"
     },
     {
      "refuse": "ERROR:password len is too short or too long",
      "when": "ssid given and wifiPwd breaks",
      "cause": "\"wifiPwd\", together with \"ssid\", has less than 8 or more than 64 bytes"
     },
     {
      "write": "MIB_WLAN_WPA_PSK@wlan1-va1",
      "when": "ssid given"
     },
     {
      "write": [
       "MIB_WLAN_SECURITY_MODE@wlan1-va1",
       "MIB_WLAN_SECURITY_PARAM_38@wlan1-va1",
       "MIB_WLAN_SECURITY_PARAM_28@wlan1-va1",
       "MIB_WLAN_SECURITY_PARAM_274@wlan1-va1",
       "MIB_WLAN_SECURITY_PARAM_275@wlan1-va1",
       "MIB_WLAN_SECURITY_PARAM_272@wlan1-va1"
      ],
      "when": "ssid given",
      "state": "the network is open"
     },
     {
      "write": "MIB_WLAN_SSID@wlan1-va1",
      "when": "ssid given"
     },
     {
      "write": [
       "MIB_WLAN_DISABLED@wlan1-va1",
       "MIB_WLAN_DISABLED@wlan0-va1"
      ]
     },
     {
      "write": "MIB_WLAN_SSID@wlan0-va1",
      "when": "ssid5 given or ssid given"
     },
     {
      "write": "MIB_WLAN_WPA_PSK@wlan0-va1",
      "when": "wifiPwd5 given or (wifiPwd text and not wifiPwd breaks)"
     },
     {
      "write": [
       "MIB_WLAN_SECURITY_MODE@wlan0-va1",
       "MIB_WLAN_SECURITY_PARAM_38@wlan0-va1",
       "MIB_WLAN_SECURITY_PARAM_28@wlan0-va1",
       "MIB_WLAN_SECURITY_PARAM_274@wlan0-va1",
       "MIB_WLAN_SECURITY_PARAM_275@wlan0-va1",
       "MIB_WLAN_SECURITY_PARAM_272@wlan0-va1"
      ],
      "when": "wifiPwd5 given or (wifiPwd text and not wifiPwd breaks)",
      "state": "the network is open"
     },
     {
      "commit": true
     },
     {
      "restart": "wifi"
     }
    ]
   }
  },
  "wps": {
   "get": {
    "keys": {},
    "steps": [
     {
      "refuse": "",
      "state": "the pairing daemon has reported nothing",
      "cause": "the pairing daemon has reported nothing; the \"wps\" object is empty"
     }
    ]
   },
   "set": {
    "keys": {
     "wpsbutton": {
      "type": "number"
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "wpsbutton missing",
      "cause": "\"wpsbutton\" is missing"
     },
     {
      "run": "wscd -sig_pbc wlan1",
      "when": "wpsbutton = 1",
      "state": "without mesh"
     },
     {
      "run": "echo 1 > /tmp/virtual_push_button",
      "when": "wpsbutton = 1",
      "state": "with mesh"
     },
     {
      "run": "echo wlan1 > /tmp/wscd_cancel ",
      "when": "wpsbutton = 0"
     }
    ]
   }
  },
  "wifiAcc": {
   "get": {
    "keys": {},
    "steps": [
     {
      "refuse": "(get_entry_number FAIL)",
      "state": "the store does not tell how long the list is",
      "cause": "the router can't read its list"
     },
     {
      "refuse": "",
      "state": "an entry of the list can't be read",
      "cause": "it can't read one of the entries; the reply has those before it"
     }
    ]
   },
   "set": {
    "keys": {
     "mode": {
      "type": "number"
     },
     "addMaclist": {
      "type": "array",
      "of": {
       "type": "array",
       "each": [
        {
         "type": "string",
         "form": "mac"
        },
        {
         "type": "string",
         "bytes": [
          0,
          20
         ]
        }
       ]
      }
     },
     "delMaclist": {
      "type": "array",
      "of": {
       "type": "string",
       "form": "mac"
      }
     }
    },
    "steps": [
     {
      "refuse": "ERROR: Not find enable info\n",
      "when": "mode missing",
      "cause": "\"mode\" is missing"
     },
     {
      "write": [
       "MIB_WLAN_ACL_MODE@wlan0",
       "MIB_WLAN_ACL_MODE@wlan1"
      ]
     },
     {
      "refuse": "(wlactrl_get_entry_number)",
      "when": "addMaclist given",
      "state": "the store does not tell how long the list is",
      "cause": "the router can't read its list, for an addition"
     },
     {
      "refuse": "Error:mac item number is >20",
      "when": "addMaclist given",
      "state": "the list would have more than 20 devices",
      "sure": "addMaclist longer 20",
      "cause": "the list would have more than 20 devices"
     },
     {
      "each": "addMaclist",
      "steps": [
       {
        "refuse": "ERROR:MAC format error!",
        "when": "it.0 there and (not it.0 text or it.0 breaks)",
        "cause": "a MAC address is not a string of 12 hexadecimal digits"
       },
       {
        "refuse": "ERROR: comment length too long",
        "when": "it.0 text and it.1 breaks",
        "cause": "a comment has more than 20 bytes"
       },
       {
        "refuse": "Error:mac exist",
        "when": "it.0 text",
        "state": "the device is in the list already",
        "cause": "a device to be added is in the list already"
       },
       {
        "write": "MIB_WLAN_ACL_NUM@wlan0",
        "when": "it.0 text"
       },
       {
        "refuse": "Error:add_table_entry_error",
        "when": "it.0 text",
        "state": "the store refuses the entry",
        "cause": "the router can't change its list, for an addition"
       }
      ]
     },
     {
      "each": "addMaclist",
      "steps": [
       {
        "refuse": "Error:mac exist",
        "when": "it.0 text",
        "state": "the device is in the list of 2.4 GHz already",
        "cause": "a device to be added is in the list already"
       },
       {
        "write": "MIB_WLAN_ACL_NUM@wlan1",
        "when": "it.0 text"
       },
       {
        "refuse": "Error:add_table_entry_error",
        "when": "it.0 text",
        "state": "the store refuses the entry",
        "cause": "the router can't change its list, for an addition"
       }
      ]
     },
     {
      "each": "delMaclist",
      "steps": [
       {
        "refuse": "ERROR:delMaclist format error!",
        "when": "it null",
        "cause": "an element of \"delMaclist\" is null"
       },
       {
        "refuse": "ERROR:MAC format error!",
        "when": "not it text or it breaks",
        "cause": "a MAC address is not a string of 12 hexadecimal digits"
       },
       {
        "refuse": "ERROR:get_entry_number_error",
        "state": "the store does not tell how long the list is",
        "cause": "the router can't read its list, for a deletion"
       },
       {
        "write": "MIB_WLAN_ACL_NUM@wlan0",
        "state": "the device is in the list"
       },
       {
        "refuse": "ERROR:delete_table_entry_error",
        "state": "the store refuses to delete the entry",
        "cause": "the router can't change its list, for a deletion"
       }
      ]
     },
     {
      "each": "delMaclist",
      "steps": [
       {
        "refuse": "ERROR:get_entry_number_error",
        "state": "the store does not tell how long the list of 2.4 GHz is",
        "cause": "the router can't read its list, for a deletion"
       },
       {
        "write": "MIB_WLAN_ACL_NUM@wlan1",
        "state": "the device is in the list"
       },
       {
        "refuse": "ERROR:delete_table_entry_error",
        "state": "the store refuses to delete the entry",
        "cause": "the router can't change its list, for a deletion"
       }
      ]
     },
     {
      "commit": true
     },
     {
      "restart": "all"
     }
    ]
   }
  },
  "opMode": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "opMode": {
      "type": "string",
      "counts": "low byte",
      "range": [
       -128,
       127
      ]
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "not opMode text",
      "cause": "\"opMode\" is missing or no string; a JSON number is refused, too"
     },
     {
      "write": "MIB_OP_MODE"
     },
     {
      "commit": true
     },
     {
      "restart": "all"
     }
    ]
   }
  },
  "timeZone": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "timeZoneIndex": {
      "type": "string",
      "bytes": [
       3,
       7
      ]
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "not timeZoneIndex text",
      "cause": "\"timeZoneIndex\" is missing or no string"
     },
     {
      "refuse": "ERROR: timezone index length is too short/long",
      "when": "timeZoneIndex breaks",
      "cause": "it has less than 3 or more than 7 bytes"
     },
     {
      "write": "MIB_TIME_ZONE_INDEX"
     },
     {
      "commit": true
     },
     {
      "restart": "all"
     }
    ]
   }
  },
  "lan": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "ip": {
      "type": "string",
      "form": "ipv4"
     },
     "mask": {
      "type": "string",
      "form": "ipv4"
     },
     "dhcp": {
      "type": "number"
     },
     "time": {
      "type": "number",
      "range": [
       1,
       10080
      ]
     },
     "ipStart": {
      "type": "string",
      "form": "ipv4"
     },
     "ipEnd": {
      "type": "string",
      "form": "ipv4"
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "not (ip text and mask text)",
      "cause": "\"ip\" or \"mask\" is missing or no string"
     },
     {
      "refuse": "",
      "when": "ip breaks or mask breaks",
      "cause": "\"ip\" or \"mask\" is no address"
     },
     {
      "write": "MIB_DHCP_MODE",
      "when": "dhcp given"
     },
     {
      "refuse": "",
      "when": "dhcp given and dhcp = 2 and not (time given and ipStart text and ipEnd text)",
      "cause": "\"dhcp\" is 2 and \"time\", \"ipStart\" or \"ipEnd\" is missing"
     },
     {
      "refuse": "ERROR:invalid DHCP Lease Time",
      "when": "dhcp given and dhcp = 2 and time breaks",
      "cause": "\"time\" is not 1 to 10080"
     },
     {
      "refuse": "ERROR:invalid ip address",
      "when": "dhcp given and dhcp = 2 and (ipStart breaks or ipEnd breaks)",
      "cause": "\"ipStart\" or \"ipEnd\" is no address"
     },
     {
      "refuse": "ERROR:invalid_dhcprange",
      "when": "dhcp given and dhcp = 2 and pool(ip mask ipStart ipEnd) unfit",
      "cause": "the end is not above the start, one of both is not in the network, or the mask leaves no room for them"
     },
     {
      "refuse": "ERROR:invalid ip or mask",
      "when": "dhcp missing",
      "state": "the pool that is stored does not fit the new network",
      "cause": "\"dhcp\" is missing, and the pool that is stored does not fit the new network"
     },
     {
      "write": [
       "MIB_DHCP_LEASE_TIME",
       "MIB_DHCP_POOL_START",
       "MIB_DHCP_POOL_END"
      ],
      "when": "dhcp given and dhcp = 2"
     },
     {
      "write": [
       "MIB_LAN_IP_ADDR",
       "MIB_LAN_SUBNET_MASK"
      ]
     },
     {
      "commit": true
     },
     {
      "restart": "lan"
     }
    ]
   }
  },
  "lanStatus": {
   "get": {
    "keys": {},
    "steps": [
     {
      "run": "kill -SIGUSR1",
      "state": "the DHCP server runs"
     }
    ]
   }
  },
  "logout": {
   "set": {
    "keys": {},
    "value": {
     "type": "number"
    },
    "steps": [
     {
      "refuse": "",
      "when": "value != 1",
      "cause": "the value is not the number 1; the session goes on"
     },
     {
      "run": "rm /var/app_sessionid"
     }
    ]
   }
  },
  "sys": {
   "get": {
    "keys": {},
    "steps": [
     {
      "refuse": "ERROR: system function call error",
      "state": "the kernel does not tell the up-time",
      "cause": "the up-time can't be read"
     },
     {
      "run": "leds getenable"
     },
     {
      "run": "killall -0 fwupgtool 2>/dev/null"
     }
    ]
   },
   "set": {
    "keys": {
     "usr": {
      "type": "string",
      "bytes": [
       0,
       30
      ]
     },
     "pwd": {
      "type": "string",
      "bytes": [
       0,
       30
      ]
     },
     "led": {
      "type": "string"
     },
     "schReboot": {
      "type": "object",
      "keys": {
       "enable": {
        "type": "number",
        "range": [
         0,
         1
        ]
       },
       "time": {
        "type": "string",
        "bytes": [
         8,
         8
        ],
        "form": "clock",
        "loose": true
       },
       "week": {
        "type": "string",
        "bytes": [
         7,
         7
        ],
        "form": "week",
        "loose": true
       }
      }
     },
     "timezone": {
      "type": "string",
      "bytes": [
       3,
       7
      ]
     },
     "reboot": {
      "type": "number"
     },
     "restore": {
      "type": "number"
     },
     "upgrade": {
      "type": "number"
     },
     "filePath": {
      "type": "string",
      "bytes": [
       0,
       127
      ],
      "form": "url"
     },
     "newVersion": {
      "type": "string"
     },
     "md5": {
      "type": "string",
      "bytes": [
       32,
       32
      ]
     }
    },
    "steps": [
     {
      "refuse": "ERROR: username or passwd length is too long",
      "when": "usr text and pwd text and (usr breaks or pwd breaks)",
      "cause": "\"usr\" or \"pwd\" has more than 30 bytes"
     },
     {
      "write": [
       "MIB_USER_NAME",
       "MIB_USER_PASSWORD"
      ],
      "when": "usr text and pwd text"
     },
     {
      "commit": true,
      "when": "usr text and pwd text"
     },
     {
      "restart": "all",
      "when": "usr text and pwd text"
     },
     {
      "run": "leds enable",
      "when": "led text and led = \"allon\""
     },
     {
      "run": "leds disable",
      "when": "led text and led = \"alloff\""
     },
     {
      "run": "curl -d",
      "when": "led text and (led = \"allon\" or led = \"alloff\")",
      "state": "on a mesh controller with agents"
     },
     {
      "refuse": "ERROR: not find schReboot.enable item",
      "when": "schReboot given and schReboot.enable missing",
      "cause": "\"schReboot\" without \"enable\""
     },
     {
      "refuse": "ERROR: schReboot.enable value error",
      "when": "schReboot.enable breaks",
      "cause": "\"enable\" is neither 0 nor 1"
     },
     {
      "refuse": "ERROR: schReboot.time or schReboot.week format error",
      "when": "schReboot.time text and schReboot.week text and (schReboot.time breaks or schReboot.week breaks)",
      "cause": "\"time\" has not 8 characters, or \"week\" not 7"
     },
     {
      "refuse": "ERROR: not find schReboot.time or schReboot.week item",
      "when": "schReboot.enable given and schReboot.enable = 1 and not (schReboot.time text and schReboot.week text)",
      "cause": "\"enable\" is 1, and one of them is missing"
     },
     {
      "write": [
       "MIB_SCHREBOOT_TIME",
       "MIB_SCHREBOOT_WEEK"
      ],
      "when": "schReboot.time text and schReboot.week text"
     },
     {
      "write": "MIB_SCHREBOOT_ENABLED",
      "when": "schReboot given"
     },
     {
      "commit": true,
      "when": "schReboot given"
     },
     {
      "send": "MSG_APP_SCHREBOOT",
      "when": "schReboot given"
     },
     {
      "refuse": "ERROR: send MSG_APP_SCHREBOOT fail",
      "when": "schReboot given",
      "state": "the queue of the system daemon can't be used",
      "cause": "the schedule is stored, but the router could not be told"
     },
     {
      "restart": "none",
      "when": "timezone breaks"
     },
     {
      "refuse": "ERROR: timezone index length is too short/long",
      "when": "timezone breaks",
      "cause": "\"timezone\" has less than 3 or more than 7 bytes"
     },
     {
      "write": "MIB_TIME_ZONE_INDEX",
      "when": "timezone text"
     },
     {
      "commit": true,
      "when": "timezone text"
     },
     {
      "restart": "all",
      "when": "timezone text"
     },
     {
      "send": "MSG_REBOOT",
      "when": "reboot given and reboot = 1"
     },
     {
      "refuse": "ERROR: send MSG_REBOOT fail",
      "when": "reboot given and reboot = 1",
      "state": "the queue of the system daemon can't be used",
      "cause": "the router could not be told to reboot"
     },
     {
      "done": true,
      "when": "reboot given and reboot = 1"
     },
     {
      "send": "MSG_RESET",
      "when": "restore given and restore = 1"
     },
     {
      "refuse": "ERROR: send MSG_RESET fail",
      "when": "restore given and restore = 1",
      "state": "the queue of the system daemon can't be used",
      "cause": "the router could not be told to restore its settings"
     },
     {
      "done": true,
      "when": "restore given and restore = 1"
     },
     {
      "done": true,
      "when": "not (upgrade given and upgrade = 1)"
     },
     {
      "refuse": "ERROR: not find fwpath_info or fwver_info or fwmd5_info",
      "when": "not (filePath text and newVersion text and md5 text)",
      "cause": "\"upgrade\" without \"filePath\", \"newVersion\" or \"md5\""
     },
     {
      "refuse": "ERROR: the filePath lenght should <128",
      "when": "filePath longer 127",
      "cause": "\"filePath\" has 128 bytes or more"
     },
     {
      "refuse": "ERROR: the URL format erro or not support",
      "when": "filePath breaks",
      "cause": "\"filePath\" begins with none of the three schemes"
     },
     {
      "refuse": "ERROR: MD5 string lenght should be 32",
      "when": "md5 breaks",
      "cause": "\"md5\" has not 32 characters"
     },
     {
      "send": "MSG_APP_FWUPG"
     },
     {
      "refuse": "ERROR: send MSG_RESET fail",
      "state": "the queue of the system daemon can't be used",
      "cause": "the router could not be told to upgrade. The text is that of a restore on purpose"
     }
    ]
   }
  },
  "mesh": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "name": {
      "type": "string",
      "bytes": [
       0,
       29
      ]
     },
     "role": {
      "type": "number",
      "range": [
       0,
       2
      ]
     },
     "backhaul": {
      "type": "number",
      "range": [
       0,
       1
      ]
     }
    },
    "steps": [
     {
      "refuse": "ERROR: not find mesh.role or mesh.name or backhaul item",
      "when": "not (name text and role given and backhaul given)",
      "cause": "a key is missing, or \"name\" is no string"
     },
     {
      "refuse": "ERROR: DEVICE_NAME length is too long",
      "when": "name breaks",
      "cause": "\"name\" has 30 bytes or more"
     },
     {
      "write": "MIB_MESH_DEVICE_NAME"
     },
     {
      "refuse": "ERROR: mesh.role or mesh.backhaul value invalied",
      "when": "role breaks or backhaul breaks",
      "cause": "\"role\" is not 0 to 2, or \"backhaul\" is not 0 or 1"
     },
     {
      "write": [
       "MIB_WLAN_MESH_ITEM_1250@each",
       "MIB_WLAN_MESH_ITEM_1251@each",
       "MIB_MESH_ROLE",
       "MIB_DHCP_MODE",
       "MIB_OP_MODE",
       "MIB_WLAN_MESH_BSS_TYPE@each",
       "MIB_WLAN_DISABLED@each"
      ]
     },
     {
      "write": [
       "MIB_MESH_BACKHAUL_5G",
       "MIB_MESH_BACKHAUL_2G"
      ],
      "state": "always, but for a controller in operating mode 2"
     },
     {
      "write": "MIB_MESH_ITEM_2387",
      "state": "always, but when agent or controller stay what they are"
     },
     {
      "write": [
       "MIB_DHCP_LEASE_TIME",
       "MIB_WLAN_ITEM_270@each",
       "MIB_WLAN_ITEM_59@each"
      ],
      "when": "role = 2"
     },
     {
      "write": [
       "MIB_WLAN_SECURITY_MODE@each",
       "MIB_WLAN_SECURITY_PARAM_28@each"
      ],
      "when": "role = 1"
     },
     {
      "write": [
       "MIB_WLAN_SSID@each",
       "MIB_WLAN_WPA_PSK@each",
       "MIB_WLAN_PSK_COPY@each",
       "MIB_WLAN_SECURITY_PARAM_274@each",
       "MIB_WLAN_SECURITY_PARAM_275@each",
       "MIB_WLAN_SECURITY_PARAM_272@each",
       "MIB_WLAN_SECURITY_PARAM_38@each",
       "MIB_WLAN_HIDDEN_SSID@each"
      ],
      "when": "role = 1",
      "state": "unless a controller keeps the credentials that it has"
     },
     {
      "commit": true
     },
     {
      "restart": "all"
     }
    ]
   }
  },
  "meshStatus": {
   "get": {
    "keys": {},
    "steps": [
     {
      "refuse": "ERROR:open topology_json file fail",
      "state": "there is no topology",
      "cause": "there is no topology, as on a router without mesh"
     },
     {
      "run": "kill -SIGUSR1",
      "state": "the DHCP server runs"
     },
     {
      "refuse": "ERROR:Parse topology_json file fail",
      "state": "the first line of the topology is no JSON document",
      "cause": "its first line is no JSON document"
     }
    ]
   }
  },
  "Sec": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "firewall": {
      "type": "number",
      "range": [
       0,
       1
      ]
     },
     "tcpsynflood": {
      "type": "number"
     },
     "tcpfinflood": {
      "type": "number"
     },
     "udpflood": {
      "type": "number"
     },
     "icmpflood": {
      "type": "number"
     },
     "macFiltering": {
      "type": "number"
     },
     "delMaclist": {
      "type": "array",
      "of": {
       "type": "string",
       "form": "mac"
      }
     },
     "addMaclist": {
      "type": "array",
      "of": {
       "type": "array",
       "each": [
        {
         "type": "string",
         "form": "mac"
        },
        {
         "type": "string",
         "bytes": [
          0,
          20
         ]
        },
        {
         "type": "string",
         "bytes": [
          0,
          9
         ]
        },
        {
         "type": "string",
         "bytes": [
          7,
          7
         ],
         "form": "week",
         "loose": true
        }
       ]
      }
     }
    },
    "steps": [
     {
      "refuse": "ERROR: firewall value is invalied",
      "when": "firewall breaks",
      "cause": "\"firewall\" is neither 0 nor 1"
     },
     {
      "write": "MIB_SYN_FLOOD_THRESHOLD",
      "when": "firewall given and firewall = 1 and (tcpsynflood missing or tcpsynflood = 1)"
     },
     {
      "write": "MIB_FIN_FLOOD_THRESHOLD",
      "when": "firewall given and firewall = 1 and (tcpfinflood missing or tcpfinflood = 1)"
     },
     {
      "write": "MIB_UDP_FLOOD_THRESHOLD",
      "when": "firewall given and firewall = 1 and (udpflood missing or udpflood = 1)"
     },
     {
      "write": "MIB_ICMP_FLOOD_THRESHOLD",
      "when": "firewall given and firewall = 1 and (icmpflood missing or icmpflood = 1)"
     },
     {
      "write": "MIB_FIREWALL_FLAGS",
      "when": "firewall given"
     },
     {
      "commit": true,
      "when": "firewall given"
     },
     {
      "each": "delMaclist",
      "when": "macFiltering given",
      "steps": [
       {
        "refuse": "ERROR:delMaclist format error!",
        "when": "it null",
        "cause": "an element of \"delMaclist\" is null"
       },
       {
        "refuse": "ERROR:MAC format error!",
        "when": "not it text or it breaks",
        "cause": "a MAC address is not a string of 12 hexadecimal digits"
       },
       {
        "refuse": "ERROR:get_entry_number_error",
        "state": "the store does not tell how long the list is",
        "cause": "the router can't read its list, for a deletion"
       },
       {
        "write": "MIB_MACFILTER_TBL_NUM",
        "state": "the device is in the list"
       },
       {
        "refuse": "ERROR:delete_table_entry_error",
        "state": "the store refuses to delete the entry",
        "cause": "the router can't change its list, for a deletion"
       }
      ]
     },
     {
      "refuse": "get_entry_number FAIL",
      "when": "macFiltering given and addMaclist given",
      "state": "the store does not tell how long the list is",
      "cause": "the router can't read its list, for an addition"
     },
     {
      "refuse": "Error:mac item number >20",
      "when": "macFiltering given and addMaclist given",
      "state": "the list would have more than 20 devices",
      "sure": "addMaclist longer 20",
      "cause": "the list would have more than 20 devices"
     },
     {
      "each": "addMaclist",
      "when": "macFiltering given",
      "steps": [
       {
        "refuse": "ERROR:MAC format error!",
        "when": "it.0 there and not it.0 length 12",
        "cause": "a MAC address is not a string of 12 hexadecimal digits"
       },
       {
        "refuse": "ERROR:MAC is repeated!",
        "when": "it.0 repeated",
        "cause": "an address stands twice in \"addMaclist\", with the same case"
       }
      ]
     },
     {
      "each": "addMaclist",
      "when": "macFiltering given",
      "steps": [
       {
        "refuse": "ERROR:MAC format error!",
        "when": "it.0 there and (not it.0 text or it.0 breaks)",
        "cause": "a MAC address is not a string of 12 hexadecimal digits"
       },
       {
        "refuse": "ERROR: comment length too long",
        "when": "it.0 text and it.1 breaks",
        "cause": "a comment has more than 20 bytes"
       },
       {
        "refuse": "ERROR: TIME length too long",
        "when": "it.0 text and it.2 breaks",
        "cause": "a time has more than 9 bytes"
       },
       {
        "refuse": "ERROR: week format error",
        "when": "it.0 text and it.3 breaks",
        "cause": "weekdays are not 7 characters"
       },
       {
        "refuse": "Error:mac exist",
        "when": "it.0 text",
        "state": "the device is in the list already",
        "cause": "a device to be added is in the list already"
       },
       {
        "write": "MIB_MACFILTER_TBL_NUM",
        "when": "it.0 text"
       },
       {
        "refuse": "Error:add_table_entry_error",
        "when": "it.0 text",
        "state": "the store refuses the entry",
        "cause": "the router can't change its list, for an addition"
       }
      ]
     },
     {
      "write": "MIB_MACFILTER_ENABLED",
      "when": "macFiltering given"
     },
     {
      "commit": true,
      "when": "macFiltering given"
     },
     {
      "restart": "firewall",
      "when": "firewall given or macFiltering given"
     },
     {
      "refuse": "ERROR: send MSG_CALL_SYSCONF fail",
      "when": "firewall given or macFiltering given",
      "state": "the queue of the system daemon can't be used",
      "cause": "everything is stored, but the firewall could not be told"
     }
    ]
   }
  },
  "netAcc": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "enable": {
      "type": "number",
      "counts": "low byte"
     },
     "addlist": {
      "type": "array",
      "of": {
       "type": "object",
       "keys": {
        "mac": {
         "type": "string",
         "bytes": [
          12,
          12
         ]
        },
        "TimeControl": {
         "type": "number"
        },
        "stime": {
         "type": "string",
         "bytes": [
          8,
          8
         ],
         "form": "clock",
         "loose": true
        },
        "etime": {
         "type": "string",
         "bytes": [
          8,
          8
         ],
         "form": "clock",
         "loose": true
        },
        "week": {
         "type": "string",
         "bytes": [
          7,
          7
         ],
         "form": "week",
         "loose": true
        },
        "name": {
         "type": "string",
         "bytes": [
          1,
          49
         ]
        }
       }
      }
     },
     "dellist": {
      "type": "array",
      "of": {
       "type": "object",
       "keys": {
        "mac": {
         "type": "string",
         "bytes": [
          12,
          12
         ]
        }
       }
      }
     }
    },
    "steps": [
     {
      "refuse": "get_entry_number FAIL",
      "when": "enable given and enable != 0 and addlist given",
      "state": "the store does not tell how long the list is",
      "cause": "the router can't read its list"
     },
     {
      "each": "addlist",
      "when": "enable given and enable != 0",
      "steps": [
       {
        "refuse": "ERROR:MAC format error!",
        "when": "it.mac there and (not it.mac text or it.mac breaks)",
        "cause": "\"mac\" is not a string of 12 characters. Whether they are hexadecimal digits is not checked"
       },
       {
        "write": "MIB_SCHNETACC_TBL_NUM",
        "when": "it.mac text",
        "state": "the device is in the list"
       },
       {
        "refuse": "ERROR: not find schNetAcc.time or schNetAcc.week item",
        "when": "it.mac text and it.TimeControl given and it.TimeControl != 0 and not (it.stime text and it.etime text and it.week text and it.name text)",
        "cause": "\"TimeControl\" is not 0, and \"stime\", \"etime\", \"week\" or \"name\" is missing"
       },
       {
        "refuse": "ERROR: time string lenght wrong",
        "when": "it.mac text and it.TimeControl given and it.stime text and it.etime text and (it.stime breaks or it.etime breaks)",
        "cause": "\"stime\" or \"etime\" has not 8 characters"
       },
       {
        "refuse": "ERROR: week format error",
        "when": "it.mac text and it.TimeControl given and it.week breaks",
        "cause": "\"week\" has not 7 characters"
       },
       {
        "refuse": "ERROR: name format error",
        "when": "it.mac text and it.TimeControl given and it.name breaks",
        "cause": "\"name\" is empty or has more than 49 bytes"
       },
       {
        "write": "MIB_SCHNETACC_TBL_NUM",
        "when": "it.mac text"
       }
      ]
     },
     {
      "write": "MIB_SCHNETACC_ENABLED",
      "when": "enable given"
     },
     {
      "refuse": "get_entry_number FAIL",
      "when": "dellist given",
      "state": "the store does not tell how long the list is",
      "cause": "the router can't read its list"
     },
     {
      "each": "dellist",
      "steps": [
       {
        "refuse": "ERROR:delMaclist format error!",
        "when": "it null",
        "cause": "an element of \"dellist\" is null"
       },
       {
        "refuse": "ERROR:MAC format error!",
        "when": "it.mac there and (not it.mac text or it.mac breaks)",
        "cause": "\"mac\" is not a string of 12 characters. Whether they are hexadecimal digits is not checked"
       },
       {
        "refuse": "",
        "when": "it.mac text",
        "state": "the store refuses to delete the entry",
        "cause": "the router can't delete a device"
       },
       {
        "refuse": "ERROR:delMaclist format error!",
        "when": "it.mac text",
        "state": "the device is not in the list",
        "cause": "a device of \"dellist\" is not in the list"
       },
       {
        "write": "MIB_SCHNETACC_TBL_NUM",
        "when": "it.mac text"
       }
      ]
     },
     {
      "commit": true
     },
     {
      "restart": "firewall"
     },
     {
      "refuse": "ERROR: send MSG_CALL_SYSCONF fail",
      "state": "the queue of the system daemon can't be used",
      "cause": "everything is stored, but the firewall could not be told"
     }
    ]
   }
  },
  "urlfilter": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "enable": {
      "type": "number"
     },
     "mode": {
      "type": "number"
     },
     "addurl": {
      "type": "string",
      "bytes": [
       0,
       30
      ]
     },
     "delurl": {
      "type": "string",
      "bytes": [
       0,
       30
      ]
     },
     "delallurl": {
      "type": "number"
     }
    },
    "steps": [
     {
      "refuse": "",
      "when": "enable missing or mode missing",
      "cause": "\"enable\" or \"mode\" is missing"
     },
     {
      "write": "MIB_URLFILTER_ENABLED",
      "when": "enable = 0 or enable = 1"
     },
     {
      "refuse": "",
      "when": "enable = 0 or enable = 1",
      "state": "the store refuses the switch",
      "cause": "the router can't store a switch"
     },
     {
      "write": "MIB_URLFILTER_MODE",
      "when": "enable = 1"
     },
     {
      "refuse": "",
      "when": "enable = 1",
      "state": "the store refuses the mode",
      "cause": "the router can't store a switch"
     },
     {
      "done": true,
      "when": "enable = 1 and addurl text and addurl = \"\""
     },
     {
      "refuse": "",
      "when": "enable = 1 and addurl breaks",
      "cause": "a word has more than 30 bytes"
     },
     {
      "done": true,
      "when": "enable = 1 and addurl text",
      "state": "the word is in the list already"
     },
     {
      "write": "MIB_URLFILTER_TBL_NUM",
      "when": "enable = 1 and addurl text"
     },
     {
      "refuse": "",
      "when": "enable = 1 and addurl text",
      "state": "the store refuses the entry",
      "cause": "the router can't add a word, as a rule because its lists are full"
     },
     {
      "done": true,
      "when": "enable = 1 and delurl text and delurl = \"\""
     },
     {
      "refuse": "",
      "when": "enable = 1 and delurl breaks",
      "cause": "a word has more than 30 bytes"
     },
     {
      "write": "MIB_URLFILTER_TBL_NUM",
      "when": "enable = 1 and delurl text"
     },
     {
      "refuse": "",
      "when": "enable = 1 and delurl text",
      "state": "the word is not in the list of this mode",
      "cause": "the word to delete is not in the list of this mode, or the router can't delete it"
     },
     {
      "write": "MIB_URLFILTER_TBL_NUM",
      "when": "enable = 1 and delallurl = 1"
     },
     {
      "refuse": "",
      "when": "enable = 1 and delallurl = 1",
      "state": "the store refuses to empty the list",
      "cause": "the router can't empty its list"
     },
     {
      "restart": "firewall"
     },
     {
      "refuse": "ERROR: send MSG_CALL_SYSCONF fail",
      "state": "the queue of the system daemon can't be used",
      "cause": "everything is stored, but the firewall could not be told"
     }
    ]
   }
  },
  "netDig": {
   "get": {
    "keys": {
     "ping": {
      "type": "object",
      "keys": {
       "dst": {
        "type": "string",
        "bytes": [
         3,
         63
        ]
       },
       "count": {
        "type": "number"
       }
      }
     }
    },
    "steps": [
     {
      "refuse": "ERROR: not find netDig Object",
      "unreachable": "A get comes here only when the request names \"netDig\".",
      "cause": "the request does not name \"netDig\""
     },
     {
      "done": true,
      "when": "ping missing"
     },
     {
      "refuse": "ERROR: not find dst for ping",
      "when": "not ping.dst text",
      "cause": "\"dst\" is missing or no string"
     },
     {
      "refuse": "ERROR: dst is too short or too long",
      "when": "ping.dst breaks",
      "cause": "\"dst\" has less than 3 or more than 63 bytes"
     },
     {
      "run": "ping -c"
     },
     {
      "refuse": "",
      "state": "the command can't be started",
      "cause": "the command could not be started"
     }
    ]
   }
  },
  "app": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "port": {
      "type": "number",
      "range": [
       0,
       65535
      ]
     },
     "ticktime": {
      "type": "number",
      "range": [
       0,
       65535
      ]
     }
    },
    "steps": [
     {
      "refuse": "ERROR: port value is invalied",
      "when": "port breaks",
      "cause": "\"port\" is negative or above 65535"
     },
     {
      "write": "MIB_APP_PORT",
      "when": "port given"
     },
     {
      "refuse": "ERROR: ticktime value is invalied",
      "when": "ticktime breaks",
      "cause": "\"ticktime\" is negative or above 65535"
     },
     {
      "write": "MIB_APP_TICKTIME",
      "when": "ticktime given"
     },
     {
      "commit": true,
      "when": "port given or ticktime given"
     }
    ]
   }
  },
  "qos": {
   "get": {
    "keys": {},
    "steps": []
   },
   "set": {
    "keys": {
     "enable": {
      "type": "number"
     },
     "ipRuleMod": {
      "type": "object",
      "keys": {
       "Act": {
        "type": "string"
       },
       "index": {
        "type": "number",
        "range": [
         1,
         10
        ]
       },
       "ip": {
        "type": "string",
        "form": "range"
       },
       "ulimit": {
        "type": "number",
        "range": [
         0,
         4294967295
        ]
       },
       "dlimit": {
        "type": "number",
        "range": [
         0,
         4294967295
        ]
       }
      }
     }
    },
    "steps": [
     {
      "write": "MIB_QOS_ENABLED",
      "when": "enable given"
     },
     {
      "done": true,
      "when": "enable missing and ipRuleMod.Act missing"
     },
     {
      "refuse": "ERROR: the Act value is invalied",
      "when": "ipRuleMod.Act given and not (ipRuleMod.Act text and (ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"del\" or ipRuleMod.Act = \"mod\"))",
      "cause": "\"Act\" is no string, or none of the three"
     },
     {
      "refuse": "ERROR: not find index item",
      "when": "(ipRuleMod.Act = \"del\" or ipRuleMod.Act = \"mod\") and ipRuleMod.index missing",
      "cause": "\"index\" is missing"
     },
     {
      "refuse": "ERROR: index value not validate",
      "when": "(ipRuleMod.Act = \"del\" or ipRuleMod.Act = \"mod\") and ipRuleMod.index breaks",
      "cause": "\"index\" is not 1 to 10"
     },
     {
      "refuse": "ERROR: del rule FAIL",
      "when": "ipRuleMod.Act = \"del\" or ipRuleMod.Act = \"mod\"",
      "state": "the store can't read or delete the rule",
      "cause": "the router can't read or delete the rule"
     },
     {
      "refuse": "ERROR: index value not validate",
      "when": "ipRuleMod.Act = \"del\" or ipRuleMod.Act = \"mod\"",
      "state": "there is no such rule",
      "cause": "there is no rule of this \"index\""
     },
     {
      "write": "MIB_QOS_RULE_TBL_NUM",
      "when": "ipRuleMod.Act = \"del\" or ipRuleMod.Act = \"mod\""
     },
     {
      "refuse": "ERROR: not find ip item",
      "when": "(ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\") and not ipRuleMod.ip text",
      "cause": "\"ip\" is missing or no string"
     },
     {
      "refuse": "ERROR: not find ulimit or dlimit item",
      "when": "(ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\") and ipRuleMod.ulimit missing and ipRuleMod.dlimit missing",
      "cause": "both are missing"
     },
     {
      "refuse": "ERROR: add rule FAIL",
      "when": "(ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\") and ipRuleMod.ip breaks",
      "cause": "\"ip\" has no \"-\" or a part of a wrong length"
     },
     {
      "refuse": "ERROR: add rule FAIL",
      "when": "ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\"",
      "state": "the store does not tell how long the list is",
      "cause": "the router can't read or change its rules"
     },
     {
      "refuse": "ERROR: the rule Numbers should < 10",
      "code": 1,
      "when": "ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\"",
      "state": "there are 10 rules already",
      "cause": "there are 10 rules already"
     },
     {
      "refuse": "ERROR: the ip is conflict",
      "code": 2,
      "when": "ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\"",
      "state": "a rule has some of the addresses",
      "cause": "a rule has some of the addresses"
     },
     {
      "write": "MIB_QOS_RULE_TBL_NUM",
      "when": "ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\""
     },
     {
      "refuse": "ERROR: add rule FAIL",
      "when": "ipRuleMod.Act = \"add\" or ipRuleMod.Act = \"mod\"",
      "state": "the store refuses the rule",
      "cause": "the router can't read or change its rules"
     },
     {
      "commit": "at once"
     },
     {
      "send": "MSG_APP_SETQOS"
     },
     {
      "refuse": "ERROR: send MSG_APP_SETQOS fail",
      "state": "the queue of the system daemon can't be used",
      "cause": "everything is stored and committed, but the shaping could not be told"
     }
    ]
   }
  }
 },
 "request": {
  "action": {
   "type": "string"
  },
  "guid": {
   "type": "string"
  },
  "sessionid": {
   "type": "string",
   "form": "session"
  },
  "ip": {
   "type": "string"
  }
 },
 "login": {
  "info": {
   "type": "object",
   "keys": {
    "user": {
     "type": "string"
    },
    "pwd": {
     "type": "string"
    }
   }
  }
 }
} as unknown;
