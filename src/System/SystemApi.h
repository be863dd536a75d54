// Product queries of the TV side: wall display, micro-LED, Easel TV, ambient screen and mode,
// panel resolution, device name and the product's identity strings.
// Thread-safe: a singleton whose one field is fixed at construction; every query asks the
// platform afresh.
#pragma once

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

    bool getPanelResolution(int& width, int& height);
    bool getSwVersion(std::string& out);
    bool getSerialNumber(std::string& out);
    bool getProductCode(std::string& out);
    bool getProductType(std::string& out);
    bool getDeviceName(std::string& out);

    SystemApi(const SystemApi&) = delete;
    SystemApi& operator=(const SystemApi&) = delete;

private:
    SystemApi();

    const bool m_isLfd;
};
