// Commands, framework answers and sent properties for the tests of the concrete control helpers.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "System/FakeDynf.h"
#include "System/IControlHelper.h"
#include "support/PlatformFixture.h"
#include "dlog.h"

namespace helpertest {

using List = std::unique_ptr<dynf_property_list_s, fakedynf::ListDeleter>;

// A command of type for method with the given params text.
inline CmdRequest command(DYNF_TVCONTROL_PROP_TYPE type, const std::string& method,
                          const std::string& params) {
    CmdRequest request;
    request.method = method;
    request.params = common::json::JsonValue::Create(params);
    request.propType = type;
    return request;
}

// A framework answer holding the given properties (taken over).
inline List answer(std::initializer_list<dynf_property_h> properties) {
    List list(dynf_property_list_create());
    for (dynf_property_h property : properties) {
        dynf_property_list_push(list.get(), property);
    }
    return list;
}

// The properties the helper builds for request; empty when it builds no list.
inline std::vector<fakedynf::Property> sent(IControlHelper& helper, CmdRequest& request) {
    List list(helper.getPropertyData(&request));
    return fakedynf::describe(list.get());
}

// The single property the helper builds for request; fails the test when there is not exactly one.
inline fakedynf::Property sentOne(IControlHelper& helper, CmdRequest& request) {
    std::vector<fakedynf::Property> properties = sent(helper, request);
    EXPECT_EQ(1u, properties.size()) << request.params.toString();
    return properties.empty() ? fakedynf::Property() : properties[0];
}

// A framework answer with one string property.
inline List stringAnswer(const std::string& name, const std::string& value) {
    return List(fakedynf::stringList(name, value));
}

// Runs the result callback with error and result (null for none), and gives the command back.
inline CmdRequest handled(IControlHelper& helper, CmdRequest request, dynf_error error,
                          List result) {
    helper.handleResult(error, result.get(), &request);
    return request;
}

inline void expectError(const CmdRequest& request, eJSONRPCErrorCode index,
                        _DeviceManagerError code) {
    EXPECT_TRUE(request.bJsonRpcError);
    EXPECT_EQ(index, request.errorIndex);
    EXPECT_EQ(code, request.resultCode);
}

// The descriptions of the usage events logged so far in the platform's data folder dir.
inline std::vector<std::string> kpiDescriptions(const testsupport::TempDir& dir) {
    std::vector<std::string> descriptions;
    dlog_flush();  // the log's thread writes the events
    for (const std::string& line : testsupport::readLines(dir.file("kpi.log"))) {
        descriptions.push_back(common::json::JsonValue::Create(line)["description"].asString());
    }
    return descriptions;
}

}  // namespace helpertest
