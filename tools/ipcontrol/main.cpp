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
#include "TvBatch.h"
#include "dlog.h"

namespace {

void print(FILE* stream, const std::string& text) {
    if (!text.empty()) {
        fprintf(stream, "%s%s", text.c_str(), text.back() == '\n' ? "" : "\n");
    }
}

// One TV command; store is shared by every TV of a selection.
Outcome runOnTv(const CommandLine& commandLine, TokenStore& store) {
    using Command = CommandLine::Command;
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

// The command on each TV of --tv: one line per TV as the results are in, then the summary.
Outcome runOnSelection(const CommandLine& commandLine, TokenStore& store) {
    const DiscoverCommand discovery(commandLine);
    std::vector<TvTarget> found;
    Outcome outcome;
    if (commandLine.selection.needsDiscovery() && !discovery.find(found, outcome)) {
        return outcome;
    }
    std::vector<std::string> unmatched;
    std::vector<TvTarget> tvs =
        commandLine.selection.select(found, shippedProfileModels(), unmatched);
    if (!unmatched.empty()) {
        std::string words;
        for (const std::string& word : unmatched) {
            words += (words.empty() ? "" : ", ") + word;
        }
        return {ExitCode::Unreachable,
                "No TV answered the search for " + words + " (" + std::to_string(found.size()) +
                    " found); 'ipcontrol discover' lists the TVs, by name, address and model.",
                ""};
    }
    store.deferSaves(true);
    const std::vector<TvBatch::Result> results =
        TvBatch::run(tvs, commandLine.parallel, [&](const TvTarget& tv) {
            CommandLine one = commandLine;
            one.host = tv.address;
            one.port = tv.port != 0 ? tv.port : discovery.probe(tv.address);
            if (one.port == 0) {
                return Outcome{ExitCode::Unreachable,
                               "No JSON-RPC port of the TV at " + tv.address +
                                   " accepts a "
                                   "connection.",
                               ""};
            }
            return runOnTv(one, store);
        });
    store.deferSaves(false);
    std::string error;
    if (commandLine.command == CommandLine::Command::Pair && !store.save(error)) {
        return {ExitCode::Failure, "The tokens could not be saved: " + error + ".", ""};
    }
    outcome.code = TvBatch::exitCode(results);
    if (commandLine.json) {
        outcome.output = TvBatch::json(results);
        return outcome;
    }
    for (const TvBatch::Result& result : results) {
        outcome.output += TvBatch::line(result) + "\n";
    }
    outcome.output += TvBatch::summary(results);
    return outcome;
}

Outcome runCommand(const CommandLine& commandLine) {
    if (commandLine.command == CommandLine::Command::Discover) {
        return DiscoverCommand(commandLine).run();
    }
    TokenStore store(TokenStore::defaultPath());
    std::string error;
    if (!store.load(error)) {
        return {ExitCode::Failure, "The token file cannot be used: " + error + ".", ""};
    }
    return commandLine.selection.empty() ? runOnTv(commandLine, store)
                                         : runOnSelection(commandLine, store);
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
