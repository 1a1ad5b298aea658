// camkit names: the register and bitfield names of the selected camera's
// description, one a line (for scripts and the shell completion).
#include <strings.h>

#include <cstdio>
#include <string>

#include "cli_commands.h"
#include "cli_report.h"

namespace cli {

int run_names(Session& session, const Args& args) {
    LocalArgs local;
    std::string error;
    if (!parse_local(args, {}, local, error) || local.positional.size() > 1) {
        return report_usage("names", error.empty() ? "takes one prefix" : error);
    }
    const std::string prefix = local.positional.empty() ? "" : local.positional[0];
    const ci_sensor_t* sensor = session.camera->sensor;
    for (ci_s32 i = 0; sensor != nullptr && i < sensor->num_regs; i++) {
        const ci_reg_data_t& reg = sensor->regs[i];
        if (reg.confidential || reg.unique_desc[0] == '\0') continue;
        const std::string name = reg.unique_desc;
        if (strncasecmp(name.c_str(), prefix.c_str(), prefix.size()) == 0) std::printf("%s\n", name.c_str());
        // Bitfields only once the register's name is typed out.
        if (prefix.size() <= name.size() || strncasecmp(prefix.c_str(), (name + ".").c_str(), name.size() + 1) != 0) {
            continue;
        }
        for (ci_s32 f = 0; f < reg.num_bitfields; f++) {
            const std::string field = name + "." + reg.bitfield[f].id;
            if (!reg.bitfield[f].confidential && strncasecmp(field.c_str(), prefix.c_str(), prefix.size()) == 0) {
                std::printf("%s\n", field.c_str());
            }
        }
    }
    return kExitOk;
}

}  // namespace cli
