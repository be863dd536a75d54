// Test support: the ipcontrol child process, started through env(1) with its own home.
#include "tools/CliRunner.h"

#include "support/DaemonProcess.h"

int CliRunner::run(const std::vector<std::string>& args, const std::vector<std::string>& prefix) {
    std::vector<std::string> all = {"HOME=" + m_home.path(),
                                    "XDG_CONFIG_HOME=" + m_home.path() + "/config"};
    all.insert(all.end(), prefix.begin(), prefix.end());
    all.push_back(IPCONTROL_CLI_PATH);
    all.insert(all.end(), args.begin(), args.end());
    m_output.clear();
    return testsupport::runToExit("/usr/bin/env", all, m_output);
}
