// printf formatting of log lines: the conversions the service's lines use, written directly;
// anything else through vsnprintf.
#include "LineFormat.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace ipc_platform {

namespace {

enum class Length { kDefault, kChar, kShort, kLong, kLongLong, kSize, kMax, kPtrDiff };

struct Directive {
    bool leftAlign = false;
    bool zeroPad = false;
    size_t width = 0;
    Length length = Length::kDefault;
    char conversion = 0;
};

// Reads the conversion after a '%'; false for anything the direct path does not write exactly
// as vsnprintf would (other flags, '*', a precision, floating point, wide characters ...).
bool readDirective(const char*& p, Directive& directive) {
    for (;; ++p) {
        if (*p == '-') {
            directive.leftAlign = true;
        } else if (*p == '0') {
            directive.zeroPad = true;
        } else {
            break;
        }
    }
    while (*p >= '0' && *p <= '9') {
        directive.width = directive.width * 10 + static_cast<size_t>(*p++ - '0');
        if (directive.width > 4096) {
            return false;
        }
    }
    switch (*p) {
        case 'h':
            ++p;
            directive.length = *p == 'h' ? (++p, Length::kChar) : Length::kShort;
            break;
        case 'l':
            ++p;
            directive.length = *p == 'l' ? (++p, Length::kLongLong) : Length::kLong;
            break;
        case 'z':
            ++p, directive.length = Length::kSize;
            break;
        case 'j':
            ++p, directive.length = Length::kMax;
            break;
        case 't':
            ++p, directive.length = Length::kPtrDiff;
            break;
        default:
            break;
    }
    directive.conversion = *p;
    switch (directive.conversion) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
            return true;
        case 's':
        case 'c':
        case 'p':
            return directive.length == Length::kDefault && !directive.zeroPad;
        case '%':
            return directive.length == Length::kDefault && directive.width == 0 &&
                   !directive.zeroPad && !directive.leftAlign;
        default:
            return false;
    }
}

// Writes into [out, out + size - 1) and counts what would have been written beyond it.
class Output {
public:
    Output(char* out, size_t size)
        : m_out(size > 0 ? out : nullptr), m_room(size > 0 ? size - 1 : 0) {}

    void put(const char* text, size_t length) {
        if (m_used < m_room) {
            const size_t copied = length < m_room - m_used ? length : m_room - m_used;
            memcpy(m_out + m_used, text, copied);
        }
        m_used += length;
    }
    void fill(char c, size_t count) {
        if (m_used < m_room) {
            memset(m_out + m_used, c, count < m_room - m_used ? count : m_room - m_used);
        }
        m_used += count;
    }
    void padded(const Directive& directive, const char* text, size_t length) {
        if (directive.width <= length) {
            put(text, length);
            return;
        }
        const size_t pad = directive.width > length ? directive.width - length : 0;
        if (directive.leftAlign) {
            put(text, length);
            fill(' ', pad);
            return;
        }
        if (directive.zeroPad && pad > 0 && length > 0 && text[0] == '-') {
            put(text, 1);
            fill('0', pad);
            put(text + 1, length - 1);
            return;
        }
        fill(directive.zeroPad ? '0' : ' ', pad);
        put(text, length);
    }
    size_t finish() {
        if (m_out != nullptr) {
            m_out[m_used < m_room ? m_used : m_room] = '\0';
        }
        return m_used;
    }

private:
    char* m_out;
    size_t m_room;
    size_t m_used = 0;
};

// Digits of value in base 10 or 16 at the end of buffer; returns where they start.
char* digits(uintmax_t value, unsigned base, bool upper, char* end) {
    const char* set = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char* p = end;
    do {
        *--p = set[value % base];
        value /= base;
    } while (value != 0);
    return p;
}

// An int in decimal at the end of buffer; returns where it starts.
char* decimal(int value, char* end) {
    unsigned magnitude =
        value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
    static constexpr char kPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    char* start = end;
    // Two digits at a time.
    while (magnitude >= 10) {
        const unsigned pair = magnitude % 100 * 2;
        magnitude /= 100;
        *--start = kPairs[pair + 1];
        *--start = kPairs[pair];
    }
    if (magnitude > 0 || start == end) {
        *--start = static_cast<char>('0' + magnitude);
    }
    if (value < 0) {
        *--start = '-';
    }
    return start;
}

intmax_t signedArg(Length length, va_list& ap) {
    switch (length) {
        case Length::kChar:
            return static_cast<signed char>(va_arg(ap, int));
        case Length::kShort:
            return static_cast<short>(va_arg(ap, int));
        case Length::kLong:
            return va_arg(ap, long);
        case Length::kLongLong:
            return va_arg(ap, long long);
        // NOLINTNEXTLINE(bugprone-branch-clone): the types coincide on 64-bit Linux only
        case Length::kSize:
            return va_arg(ap, ssize_t);
        case Length::kMax:
            return va_arg(ap, intmax_t);
        case Length::kPtrDiff:
            return va_arg(ap, ptrdiff_t);
        default:
            return va_arg(ap, int);
    }
}

uintmax_t unsignedArg(Length length, va_list& ap) {
    switch (length) {
        case Length::kChar:
            return static_cast<unsigned char>(va_arg(ap, unsigned int));
        case Length::kShort:
            return static_cast<unsigned short>(va_arg(ap, unsigned int));
        case Length::kLong:
            return va_arg(ap, unsigned long);
        case Length::kLongLong:
            return va_arg(ap, unsigned long long);
        // NOLINTNEXTLINE(bugprone-branch-clone): the types coincide on 64-bit Linux only
        case Length::kSize:
            return va_arg(ap, size_t);
        case Length::kMax:
            return va_arg(ap, uintmax_t);
        case Length::kPtrDiff:
            return static_cast<uintmax_t>(va_arg(ap, ptrdiff_t));
        default:
            return va_arg(ap, unsigned int);
    }
}

void writeConversion(Output& output, const Directive& directive, va_list& ap) {
    char buffer[32];
    char* end = buffer + sizeof buffer;
    switch (directive.conversion) {
        case 'd':
        case 'i': {
            const intmax_t value = signedArg(directive.length, ap);
            const uintmax_t magnitude =
                value < 0 ? static_cast<uintmax_t>(0) - static_cast<uintmax_t>(value)
                          : static_cast<uintmax_t>(value);
            char* start = digits(magnitude, 10, false, end);
            if (value < 0) {
                *--start = '-';
            }
            output.padded(directive, start, static_cast<size_t>(end - start));
            return;
        }
        case 'u':
        case 'x':
        case 'X': {
            const unsigned base = directive.conversion == 'u' ? 10 : 16;
            char* start =
                digits(unsignedArg(directive.length, ap), base, directive.conversion == 'X', end);
            output.padded(directive, start, static_cast<size_t>(end - start));
            return;
        }
        case 'c': {
            const char c = static_cast<char>(va_arg(ap, int));
            output.padded(directive, &c, 1);
            return;
        }
        case 's': {
            const char* text = va_arg(ap, const char*);
            if (text == nullptr) {
                text = "(null)";
            }
            output.padded(directive, text, strlen(text));
            return;
        }
        case 'p': {
            const void* pointer = va_arg(ap, const void*);
            if (pointer == nullptr) {
                output.padded(directive, "(nil)", 5);
                return;
            }
            char* start = digits(reinterpret_cast<uintptr_t>(pointer), 16, false, end);
            *--start = 'x';
            *--start = '0';
            output.padded(directive, start, static_cast<size_t>(end - start));
            return;
        }
        default:
            output.put("%", 1);
            return;
    }
}

// The whole format with every piece cut to the room left: for a text that does not fit.
int formatBounded(char* out, size_t size, const char* fmt, va_list ap) {
    va_list args;
    va_copy(args, ap);
    Output output(out, size);
    for (const char* p = fmt;;) {
        const char* percent = strchrnul(p, '%');
        output.put(p, static_cast<size_t>(percent - p));
        if (*percent == '\0') {
            break;
        }
        p = percent + 1;
        Directive directive;
        if (!readDirective(p, directive)) {
            // Nothing has been taken from ap itself.
            va_end(args);
            return vsnprintf(out, size, fmt, ap);
        }
        writeConversion(output, directive, args);
        ++p;
    }
    va_end(args);
    const size_t length = output.finish();
    return length > static_cast<size_t>(INT32_MAX) ? -1 : static_cast<int>(length);
}

}  // namespace

int formatLine(char* out, size_t size, const char* fmt, va_list ap) {
    if (size == 0) {
        return formatBounded(out, size, fmt, ap);
    }
    // Written straight on while every piece fits; the first that does not starts over, cutting.
    va_list args;
    va_copy(args, ap);
    char* at = out;
    char* const last = out + size - 1;  // the room ends here, where the NUL goes at the latest
    for (const char* p = fmt;;) {
        const char* percent = strchrnul(p, '%');
        size_t length = static_cast<size_t>(percent - p);
        if (length > static_cast<size_t>(last - at)) {
            break;
        }
        memcpy(at, p, length);
        at += length;
        if (*percent == '\0') {
            va_end(args);
            *at = '\0';
            return static_cast<int>(at - out);
        }
        p = percent + 1;
        // Plain %s and %d make up nearly every conversion the service's lines hold.
        if (*p == 's') {
            const char* text = va_arg(args, const char*);
            if (text == nullptr) {
                text = "(null)";
            }
            length = strlen(text);
            if (length > static_cast<size_t>(last - at)) {
                break;
            }
            memcpy(at, text, length);
            at += length;
            ++p;
            continue;
        }
        if (*p == 'd') {
            char buffer[16];
            char* end = buffer + sizeof buffer;
            const char* start = decimal(va_arg(args, int), end);
            if (end - start > last - at) {
                break;
            }
            while (start < end) {
                *at++ = *start++;
            }
            ++p;
            continue;
        }
        Directive directive;
        if (!readDirective(p, directive)) {
            // Nothing has been taken from ap itself.
            va_end(args);
            return vsnprintf(out, size, fmt, ap);
        }
        const size_t room = static_cast<size_t>(last - at);
        Output piece(at, room + 1);
        writeConversion(piece, directive, args);
        length = piece.finish();
        if (length > room) {
            break;
        }
        at += length;
        ++p;
    }
    va_end(args);
    return formatBounded(out, size, fmt, ap);
}

}  // namespace ipc_platform
