// What one command ends with: the exit code, the sentence for the user and the text for stdout.
#pragma once

#include <string>

// Exit codes of ipcontrol; the manual page docs/man/ipcontrol.1 lists them for users.
enum class ExitCode : int {
    Success = 0,
    Failure = 1,         // anything else: unexpected answer, token file unusable
    Usage = 2,           // bad command line
    Unreachable = 3,     // no connection, no answer, or the service is not running
    Denied = 4,          // the viewer pressed Deny or closed the pop-up
    TimedOut = 5,        // nobody answered the pop-up
    Blocked = 6,         // the TV refuses to pair with this device (denied twice)
    PairingBusy = 7,     // a pairing pop-up for this device is already on screen
    NotPaired = 8,       // no stored token, or the TV does not accept it
    MethodNotFound = 9,  // the TV does not know the method
    RpcError = 10,       // any other JSON-RPC error
    NothingFound = 11,   // discover: no TV answered
};

// A plain value; the command that makes it decides both texts.
struct Outcome {
    ExitCode code = ExitCode::Success;
    std::string sentence;  // one sentence; stdout on success, stderr otherwise; may be empty
    std::string output;    // for stdout: the pretty result, or the raw response body with --json
};
