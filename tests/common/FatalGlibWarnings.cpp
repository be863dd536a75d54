// Makes GLib criticals and warnings fatal in the JSON tests: json-glib reports a misused node so.
#include <glib.h>
#include <gtest/gtest.h>

namespace {

class FatalGlibWarnings : public ::testing::Environment {
public:
    void SetUp() override {
        g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL |
                                                           G_LOG_LEVEL_WARNING));
    }
};

::testing::Environment* const kFatalGlibWarnings =
    ::testing::AddGlobalTestEnvironment(new FatalGlibWarnings);

}  // namespace
