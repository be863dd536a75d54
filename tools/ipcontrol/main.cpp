// ipcontrol: finds TVs, pairs this device with them and controls them from the shell.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "CallCommand.h"
#include "CommandLine.h"
#include "DiscoverCommand.h"
#include "PairCommand.h"
#include "SettingCommand.h"
#include "TokensCommand.h"
#include "dlog.h"

namespace {

void print(FILE* stream, const std::string& text) {
    if (!text.empty()) {
        fprintf(stream, "%s%s", text.c_str(), text.back() == '\n' ? "" : "\n");
    }
}

Outcome runCommand(const CommandLine& commandLine) {
    using Command = CommandLine::Command;
    if (commandLine.command == Command::Discover) {
        return DiscoverCommand(commandLine).run();
    }
    TokenStore store(TokenStore::defaultPath());
    std::string error;
    if (!store.load(error)) {
        return {ExitCode::Failure, "The token file cannot be used: " + error + ".", ""};
    }
    switch (commandLine.command) {
        case Command::Pair:
            return PairCommand(commandLine, store).run();
        case Command::Call:
            return CallCommand(commandLine, store).run();
        case Command::Tokens:
            return TokensCommand(commandLine, store).run();
        default:
            return SettingCommand(commandLine, store).run();
    }
}

}  // namespace

int main(int argc, char** argv) {
    // The JSON layer logs what it cannot parse; here every failure is told in a sentence.
    dlog_set_min_priority(DLOG_SILENT);
    signal(SIGPIPE, SIG_IGN);

    CommandLine commandLine;
    std::string error;
    if (!commandLine.parse(std::vector<std::string>(argv + 1, argv + argc), error)) {
        fprintf(stderr, "ipcontrol: %s\n\n%s", error.c_str(),
                CommandLine::usage(commandLine.helpTopic).c_str());
        return static_cast<int>(ExitCode::Usage);
    }
    if (commandLine.command == CommandLine::Command::Help) {
        fputs(CommandLine::usage(commandLine.helpTopic).c_str(), stdout);
        return static_cast<int>(ExitCode::Success);
    }

    Outcome outcome = runCommand(commandLine);
    print(stdout, outcome.output);
    fflush(stdout);  // before the sentence on stderr, which is not buffered
    if (outcome.code != ExitCode::Success) {
        print(stderr, outcome.sentence);
    } else if (!commandLine.json) {
        print(stdout, outcome.sentence);
    }
    return static_cast<int>(outcome.code);
}
