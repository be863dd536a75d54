// Call record of the link-time manager stand-ins.
#pragma once

#include <string>
#include <vector>

std::vector<std::string>& managerCalls();
