// The access manager's tokens: how a new one is made and what a valid one looks like.
#include "Manager/AccessToken.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <sys/random.h>

#include "Log.h"
#include "SecurityMode.h"

namespace {

const char kTokenAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
const int kTokenAlphabetSize = 62;

// The token depends only on the second it is made in: two made within one second are equal.
std::string clockToken() {
    srand(static_cast<unsigned int>(time(nullptr)));
    auto state = static_cast<unsigned int>(time(nullptr));
    std::string token;
    for (int i = 0; i < AccessToken::kLength; ++i) {
        token += kTokenAlphabet[rand_r(&state) % kTokenAlphabetSize];
    }
    return token;
}

// Bytes that would favour the first characters of the alphabet are drawn again.
std::string randomToken() {
    constexpr unsigned int kUnbiasedBelow = 256 - 256 % kTokenAlphabetSize;
    std::string token;
    unsigned char bytes[64];
    while (token.size() < static_cast<size_t>(AccessToken::kLength)) {
        const ssize_t got = getrandom(bytes, sizeof bytes, 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            LOGE("getrandom failed: %s", strerror(errno));
            return "";
        }
        for (ssize_t i = 0; i < got && token.size() < static_cast<size_t>(AccessToken::kLength);
             ++i) {
            if (bytes[i] < kUnbiasedBelow) {
                token += kTokenAlphabet[bytes[i] % kTokenAlphabetSize];
            }
        }
    }
    return token;
}

}  // namespace

std::string AccessToken::make(const AuthTokenIndex& index) {
    std::string token;
    if (!SecurityMode::hardened()) {
        token = clockToken();
    } else {
        do {
            token = randomToken();
        } while (!token.empty() && index.firstWith(token) != AuthTokenIndex::npos);
    }
    LOGI("generated AToken:%s", SecurityMode::token(token).c_str());
    return token;
}

bool AccessToken::isWellFormed(const std::string& token) {
    return token.size() == static_cast<size_t>(kLength) &&
           token.find_first_not_of(kTokenAlphabet) == std::string::npos;
}
