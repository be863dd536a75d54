// Product queries of the TV side: wall display, micro-LED, Easel TV, ambient screen and mode,
// panel resolution, device name and the product's identity strings.
// Thread-safe: a singleton whose one field is fixed at construction. The feature keys behind
// isWall(), isMicroLED(), isEaselTv() and isAmbientScreenSupport() are read once and remembered
// until reloadFeatures(): the product profile does not change while the platform runs, and the
// service reloads them whenever it starts. The other queries ask the platform afresh. Every
// query logs its answer on every call.
#pragma once

#include <array>
#include <mutex>
#include <optional>
#include <string>

class SystemApi {
public:
    static SystemApi& getInstance();

    bool isWall();
    bool isMicroLED();
    bool isEaselTv();
    bool isAmbientScreenSupport();
    bool isAmbientMode();
    bool isLfd() const { return m_isLfd; }
    // Forgets the remembered feature values; the next queries read the platform again.
    void reloadFeatures();

    bool getPanelResolution(int& width, int& height);
    bool getSwVersion(std::string& out);
    bool getSerialNumber(std::string& out);
    bool getProductCode(std::string& out);
    bool getProductType(std::string& out);
    bool getDeviceName(std::string& out);

    SystemApi(const SystemApi&) = delete;
    SystemApi& operator=(const SystemApi&) = delete;

    // A feature key as the platform answered it: ok false when the read failed.
    struct FeatureRead {
        bool ok = false;
        int value = 0;
    };

private:
    enum Feature { kWallSupport, kWallVersion, kEaselTv, kAmbientScreenSupport, kFeatureCount };

    SystemApi();
    // The remembered answer for feature, reading it (bool or int) when there is none yet.
    FeatureRead _feature(Feature feature, bool isBool);

    const bool m_isLfd;
    std::mutex m_featuresMutex;  // protects m_features
    std::array<std::optional<FeatureRead>, kFeatureCount> m_features;
};
