// Test support: runs the ipcontrol executable as a child process with a home folder of its own.
#pragma once

#include <string>
#include <vector>

#include "support/PlatformFixture.h"

// HOME and XDG_CONFIG_HOME point into a temporary folder, so the token file is the runner's.
// Test thread only.
class CliRunner {
public:
    // Runs "[prefix...] ipcontrol args..." to its end and returns the exit code; prefix is a
    // command that runs the rest (e.g. "ip netns exec NS"), looked up on PATH.
    int run(const std::vector<std::string>& args, const std::vector<std::string>& prefix = {});

    // What the last run wrote to stdout and stderr.
    const std::string& output() const { return m_output; }
    bool said(const std::string& text) const { return m_output.find(text) != std::string::npos; }
    std::string tokenFile() const { return m_home.path() + "/config/ipcontrol/tokens.json"; }

private:
    testsupport::TempDir m_home;
    std::string m_output;
};
