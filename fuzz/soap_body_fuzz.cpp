// Fuzz target: SOAP action requests, responses, faults and event property sets as they arrive
// from the network.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "UcfBodies.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string body(reinterpret_cast<const char*>(data), size);
    ucf::NamedTexts texts;
    ucf::parseActionRequest(body.data(), body.size(), texts);
    texts.clear();
    ucf::parseResponseArguments(body, texts);
    texts.clear();
    ucf::parsePropertySet(body, texts);
    int code = 0;
    std::string description;
    ucf::parseFault(body, code, description);
    return 0;
}
