// What the driver answers, shown with the name of the error.
#pragma once

#include "platform/vfw.h"

#include <ostream>

/// An answer to a message. It is a number like any other but when GoogleTest prints it.
struct ResultCode {
    LRESULT value = 0;

    ResultCode() = default;
    ResultCode(LRESULT answer) : value(answer) {}
    operator LRESULT() const { return value; }
};

inline std::ostream& operator<<(std::ostream& out, ResultCode code)
{
    constexpr struct {
        LRESULT value;
        const char* name;
    } kErrors[] = {
        {ICERR_UNSUPPORTED, "ICERR_UNSUPPORTED"},
        {ICERR_BADFORMAT, "ICERR_BADFORMAT"},
        {ICERR_MEMORY, "ICERR_MEMORY"},
        {ICERR_INTERNAL, "ICERR_INTERNAL"},
        {ICERR_BADFLAGS, "ICERR_BADFLAGS"},
        {ICERR_BADPARAM, "ICERR_BADPARAM"},
        {ICERR_BADSIZE, "ICERR_BADSIZE"},
        {ICERR_BADHANDLE, "ICERR_BADHANDLE"},
        {ICERR_CANTUPDATE, "ICERR_CANTUPDATE"},
        {ICERR_ABORT, "ICERR_ABORT"},
        {ICERR_ERROR, "ICERR_ERROR"},
    };
    out << code.value;
    for (const auto& error : kErrors)
        if (error.value == code.value)
            out << " (" << error.name << ')';
    return out;
}
