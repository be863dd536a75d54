// ipcontrol: pairs this device with a TV and sends the TV JSON-RPC requests from the shell.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "CallCommand.h"
#include "CommandLine.h"
#include "PairCommand.h"
#include "dlog.h"

namespace {

void print(FILE* stream, const std::string& text) {
    if (!text.empty()) {
        fprintf(stream, "%s%s", text.c_str(), text.back() == '\n' ? "" : "\n");
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
        fprintf(stderr, "ipcontrol: %s\n\n%s", error.c_str(), CommandLine::usage());
        return static_cast<int>(ExitCode::Usage);
    }
    if (commandLine.command == CommandLine::Command::Help) {
        fputs(CommandLine::usage(), stdout);
        return static_cast<int>(ExitCode::Success);
    }

    TokenStore store(TokenStore::defaultPath());
    if (!store.load(error)) {
        fprintf(stderr, "The token file cannot be used: %s.\n", error.c_str());
        return static_cast<int>(ExitCode::Failure);
    }
    Outcome outcome = commandLine.command == CommandLine::Command::Pair
                          ? PairCommand(commandLine, store).run()
                          : CallCommand(commandLine, store).run();
    print(stdout, outcome.output);
    fflush(stdout);  // before the sentence on stderr, which is not buffered
    if (outcome.code != ExitCode::Success) {
        print(stderr, outcome.sentence);
    } else if (!commandLine.json) {
        print(stdout, outcome.sentence);
    }
    return static_cast<int>(outcome.code);
}
