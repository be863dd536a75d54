// Request pipeline: verifies each JSON-RPC request and queues accepted ones as commands.
#pragma once

#include <mutex>
#include <set>
#include <string>

#include "Manager/Hook.h"
#include "Manager/IServiceManager.h"
#include "Manager/RequestJournal.h"
#include "Manager/RequestMsg.h"

class JSONRPCParser;
class MsgDispatcher;
struct CmdRequest;

// Takes every request text the network front delivers, refuses clients that may not use the
// service, starts the on-screen approval for "createAccessToken", and runs every other request
// as a command on its worker thread ("ServiceManager"), where the answers are also sent. It reaches
// the other managers only through the hooks below, which the controller fills.
//
// Threads: create()/destroy() main-loop only; handleJsonRequest() and the verifications on the
// server library's thread (refusals are sent from there); processCommand() and every queued
// answer on the worker thread; handleAccessToken() on the main loop or inside the issue hook;
// enqueueResponseData() on whichever thread finishes a command. All of these are thread-safe.
//
// Commands: processCommand() makes each CmdRequest and hands it to the run-command hook, which
// takes it over. The device side gives it back through enqueueResponseData(), which builds the
// answer at once and does not take the command over; the device side then releases it. Each
// command is answered at most once: a command handed back again (or one this pipeline never
// started) is logged and ignored.
class ServiceManager : public IServiceManager {
public:
    ~ServiceManager() override;
    // Starts the worker thread if there is none. Always true.
    bool create() override;
    // Stops and joins the worker thread; queued commands and answers are dropped.
    bool destroy() override;

    // Entry of every request. Lets the errors of the hooks and of the stopped worker thread
    // (std::runtime_error "Thread already finished! Can not do enqueue!!") through.
    void handleJsonRequest(const unsigned int& clientId, const std::string& json);
    void processDataVerification(unsigned int clientId, JSONRPCParser& parser,
                                 const requestMsg& msg);
    void processClientVerification(unsigned int clientId, JSONRPCParser& parser,
                                   const std::string& peerMac, const requestMsg& msg);
    // Answers the pending "createAccessToken" request with the outcome of the approval: a new
    // token, "denied", "timeout" or empty. True when a token was sent.
    bool handleAccessToken(const std::string& result);

    void enqueueData(const requestMsg& msg);
    // The same with the tree the verification read from msg's text, which the worker then
    // takes over instead of reading the text a second time.
    void enqueueData(const requestMsg& msg, common::json::JsonValue&& parsed);
    // With parsed, the tree of msg's text read on the server thread (see enqueueData).
    void processCommand(const requestMsg& msg, common::json::JsonValue* parsed = nullptr);
    void runCommand(CmdRequest* cmd);
    void enqueueResponseData(CmdRequest* cmd);

    void sendResponse(unsigned int clientId, const std::string& text);
    void sendAccessDenied(unsigned int clientId, const std::string& text);
    // Empty when the hook is not set.
    std::string getPeerMacAddress(unsigned int clientId);
    int issueAccessToken(const std::string& macAddr);
    int macAddressCheckInDeniedGroup(const std::string& macAddr);
    int accessTokenCheckInAuthGroup(const std::string& token);
    void showMessage(std::string text);

    Hook<void(unsigned int, const std::string&)> m_sendResponseHook;
    Hook<void(unsigned int, const std::string&)> m_sendAccessDeniedHook;
    Hook<std::string(unsigned int)> m_getPeerMacAddressHook;
    Hook<void(std::string)> m_showMessageHook;
    Hook<void(CmdRequest*)> m_runCommandHook;
    Hook<int(std::string)> m_accessTokenCheckInAuthGroupHook;   // non-zero: token known
    Hook<int(std::string)> m_macAddressCheckInDeniedGroupHook;  // non-zero: MAC denied
    Hook<int(std::string)> m_issueAccessTokenHook;              // non-zero: approval started

private:
    // Queues a job on the worker thread; throws like MsgDispatcher::EnqueueData, also when the
    // worker thread is gone.
    void _enqueueJob(std::function<void()> job);
    // Takes the dispatcher out of its slot and deletes it (joining its thread); false if none.
    bool _releaseDispatcher();
    // True when cmd was in flight; it no longer is.
    bool _takeFromInFlight(CmdRequest* cmd);

    std::mutex m_dispatcherMutex;  // protects the m_dispatcher pointer (not the dispatcher)
    MsgDispatcher* m_dispatcher = nullptr;

    std::mutex m_pendingMutex;  // protects m_pendingTokenRequest
    // The last "createAccessToken" request whose approval was started; kept after its answer.
    requestMsg m_pendingTokenRequest;

    // Every request from arrival to its answer or refusal, for the TV screen's request log.
    RequestJournal m_journal;

    std::mutex m_inFlightMutex;  // protects m_commandsInFlight
    // Commands handed to the run-command hook and not answered yet. Only compared, never
    // dereferenced: an entry may outlive a command that its device released unanswered.
    std::set<const CmdRequest*> m_commandsInFlight;
};
