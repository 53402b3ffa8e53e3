#include "objects/firewall_reload.h"

#include "base/text.h"
#include "gateway/handler/message.h"
#include "gateway/handler/request_state.h"

namespace {
constexpr char kNotSent[] = "ERROR: send MSG_CALL_SYSCONF fail";
}

int reload_firewall() {
    SysMsgRecord record = {};
    record.msg_type = MSG_CALL_SYSCONF;
    join(record.sysconfArgv, {"firewall"});
    return msg_send(record) == 0 ? 0 : fail(kNotSent);
}
