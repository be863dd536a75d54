// The twelve control helpers, made in domain order, and the service names.
#include "System/TVControlHelper.h"

#include "System/AppControlHelper.h"
#include "System/ChannelControlHelper.h"
#include "System/DeviceControlHelper.h"
#include "System/DisplayRotatorControlHelper.h"
#include "System/ExpertPictureControlHelper.h"
#include "System/InputControlHelper.h"
#include "System/MultiViewControlHelper.h"
#include "System/PictureControlHelper.h"
#include "System/PowerControlHelper.h"
#include "System/SoundControlHelper.h"
#include "System/SourceControlHelper.h"
#include "System/WallModeControlHelper.h"

TVControlHelper::TVControlHelper() : m_tvServiceName("tvcontrol"), m_wallServiceName("tvcontrol") {}

TVControlHelper::~TVControlHelper() {
    destroy();
}

bool TVControlHelper::create() {
    destroy();
    m_helpers = {
        std::make_shared<AppControlHelper>(),       std::make_shared<ChannelControlHelper>(),
        std::make_shared<DeviceControlHelper>(),    std::make_shared<InputControlHelper>(),
        std::make_shared<PictureControlHelper>(),   std::make_shared<PowerControlHelper>(),
        std::make_shared<SoundControlHelper>(),     std::make_shared<SourceControlHelper>(),
        std::make_shared<WallModeControlHelper>(),  std::make_shared<ExpertPictureControlHelper>(),
        std::make_shared<MultiViewControlHelper>(), std::make_shared<DisplayRotatorControlHelper>(),
    };
    return true;
}

void TVControlHelper::destroy() {
    for (auto helper = m_helpers.rbegin(); helper != m_helpers.rend(); ++helper) {
        helper->reset();
    }
}

std::shared_ptr<IControlHelper> TVControlHelper::getHelper(Domain domain) const {
    return domain < DOMAIN_COUNT ? m_helpers[domain] : nullptr;
}
