#include "driver/message_table.h"

#include "common/trace.h"
#include "driver/client_settings.h"
#include "driver/compress_messages.h"
#include "driver/decompress_messages.h"
#include "driver/driver_instance.h"
#include "driver/info_messages.h"
#include "platform/process_id.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace driver {

namespace {

/// What a message without an instance gets. The rows differ on purpose: hosts read 0 from a query as yes and
/// from a size as none, and have come to live with it.
enum class NullInstance : uint8_t { PassOn, Gives0, Gives1, GivesBadParam };

struct MessageRow {
    uint32_t message;
    NullInstance onNull;
    LRESULT (*handle)(DriverInstance* instance, LPARAM lParam1, LPARAM lParam2);
};

template <class Parameter>
Parameter ParameterFrom(LPARAM value)
{
    if constexpr (std::is_pointer_v<Parameter>)
        return reinterpret_cast<Parameter>(value);
    else
        return static_cast<Parameter>(value);
}

/// Brings a handler of typed parameters into the form of the table. Only rows that keep null instances out
/// use it.
template <auto handler>
struct Typed;

template <LRESULT (*handler)(DriverInstance&)>
struct Typed<handler> {
    static LRESULT Handle(DriverInstance* instance, LPARAM, LPARAM) { return handler(*instance); }
};

template <class First, LRESULT (*handler)(DriverInstance&, First)>
struct Typed<handler> {
    static LRESULT Handle(DriverInstance* instance, LPARAM lParam1, LPARAM)
    {
        return handler(*instance, ParameterFrom<First>(lParam1));
    }
};

template <class First, class Second, LRESULT (*handler)(DriverInstance&, First, Second)>
struct Typed<handler> {
    static LRESULT Handle(DriverInstance* instance, LPARAM lParam1, LPARAM lParam2)
    {
        return handler(*instance, ParameterFrom<First>(lParam1), ParameterFrom<Second>(lParam2));
    }
};

template <LRESULT result>
LRESULT Answer(DriverInstance*, LPARAM, LPARAM)
{
    return result;
}

LRESULT Load(DriverInstance*, LPARAM, LPARAM)
{
    Trace("DRV_LOAD\n");
    return 1;
}

LRESULT Free(DriverInstance*, LPARAM, LPARAM)
{
    Trace("DRV_FREE\n");
    return 1;
}

LRESULT ConfigureDriver(DriverInstance*, LPARAM, LPARAM)
{
    Trace("DRV_CONFIGURE\n");
    return 1;
}

/// The driver as such has nothing to configure; its variants and the exported Configure have.
LRESULT QueryConfigureDriver(DriverInstance*, LPARAM, LPARAM)
{
    Trace("DRV_QUERYCONFIGURE\n");
    return 0;
}

LRESULT Open(DriverInstance*, LPARAM, LPARAM lParam2)
{
    DriverInstance* instance = OpenInstance(reinterpret_cast<ICOPEN*>(lParam2));
    Trace("DRV_OPEN, dwDriverID: %p\n", static_cast<void*>(instance));
    return reinterpret_cast<LRESULT>(instance);
}

LRESULT Close(DriverInstance* instance, LPARAM, LPARAM)
{
    Trace("DRV_CLOSE, dwDriverID: %p\n", static_cast<void*>(instance));
    CloseInstance(instance);
    return 1;
}

LRESULT DefaultQuality(DriverInstance*, LPARAM lParam1, LPARAM)
{
    return GetDefaultQuality(lParam1);
}

using enum NullInstance;

// Rising by number. DRV_FREE and DRV_DISABLE come with the id of an instance that is gone: nothing may be
// read through it.
constexpr MessageRow kMessages[] = {
    {DRV_LOAD, PassOn, Load},
    {DRV_ENABLE, PassOn, Answer<1>},
    {DRV_OPEN, PassOn, Open},
    {DRV_CLOSE, Gives1, Close},
    {DRV_DISABLE, PassOn, Answer<1>},
    {DRV_FREE, PassOn, Free},
    {DRV_CONFIGURE, PassOn, ConfigureDriver},
    {DRV_QUERYCONFIGURE, PassOn, QueryConfigureDriver},
    {DRV_INSTALL, PassOn, Answer<1>},
    {DRV_REMOVE, PassOn, Answer<1>},
    {ICM_COMPRESS_GET_FORMAT, Gives0, Typed<GetCompressFormat>::Handle},
    {ICM_COMPRESS_GET_SIZE, Gives0, Typed<GetCompressSize>::Handle},
    {ICM_COMPRESS_QUERY, Gives0, Typed<QueryCompress>::Handle},
    {ICM_COMPRESS_BEGIN, Gives0, Typed<BeginCompress>::Handle},
    {ICM_COMPRESS, Gives0, Typed<CompressFrame>::Handle},
    {ICM_COMPRESS_END, Gives0, Typed<EndCompress>::Handle},
    {ICM_DECOMPRESS_GET_FORMAT, GivesBadParam, Typed<GetDecompressFormat>::Handle},
    {ICM_DECOMPRESS_QUERY, GivesBadParam, Typed<QueryDecompress>::Handle},
    {ICM_DECOMPRESS_BEGIN, GivesBadParam, Typed<BeginDecompress>::Handle},
    {ICM_DECOMPRESS, GivesBadParam, Typed<DecompressFrame>::Handle},
    {ICM_DECOMPRESS_END, GivesBadParam, Typed<EndDecompress>::Handle},
    {ICM_DECOMPRESS_GET_PALETTE, PassOn, Answer<ICERR_BADFORMAT>},
    {ICM_GETSTATE, Gives0, Typed<GetState>::Handle},
    {ICM_SETSTATE, Gives0, Typed<SetState>::Handle},
    {ICM_GETINFO, Gives0, Typed<GetInfo>::Handle},
    {ICM_CONFIGURE, Gives0, Typed<ConfigureInstance>::Handle},
    {ICM_ABOUT, Gives0, Typed<ShowAbout>::Handle},
    {ICM_GETDEFAULTQUALITY, PassOn, DefaultQuality},
};
static_assert(std::ranges::adjacent_find(kMessages, std::ranges::greater_equal{}, &MessageRow::message) ==
              std::end(kMessages));

/// Messages below this number are the system's, and what we do not know of them goes on to its default.
constexpr uint32_t kFirstOwnMessage = DRV_USER;

LRESULT AnswerWithoutInstance(NullInstance onNull)
{
    switch (onNull) {
    case Gives1:
        return 1;
    case GivesBadParam:
        return ICERR_BADPARAM;
    default:
        return 0;
    }
}

/// What a forked child gets for an instance of its parent.
LRESULT AnswerInForkedChild(uint32_t message)
{
    switch (message) {
    case DRV_CLOSE:
    case ICM_COMPRESS_GET_SIZE:
    case ICM_GETSTATE:
    case ICM_SETSTATE:
    case ICM_GETINFO:
        return 0; // nothing was closed; no bytes
    default:
        return ICERR_BADHANDLE;
    }
}

} // namespace

LRESULT HandleMessage(DWORD_PTR driverId, HDRVR driver, uint32_t message, LPARAM lParam1,
                      LPARAM lParam2) noexcept
{
    const auto row = std::ranges::lower_bound(kMessages, message, {}, &MessageRow::message);
    if (row == std::end(kMessages) || row->message != message)
        return message < kFirstOwnMessage ? DefDriverProc(driverId, driver, message, lParam1, lParam2)
                                          : LRESULT{ICERR_UNSUPPORTED};

    auto* const instance = reinterpret_cast<DriverInstance*>(driverId);
    if (row->onNull != PassOn) {
        if (!instance) {
            Trace("pi was NULL in message %d\n", static_cast<int>(message));
            return AnswerWithoutInstance(row->onNull);
        }
        if (instance->Process != platform::ProcessId())
            return AnswerInForkedChild(message);
    }
    try {
        return row->handle(instance, lParam1, lParam2);
    } catch (...) {
        // Memory is the one thing that can be lacking, and only rows with an instance ask for some.
        LogLine(*instance, "#### INTERNAL ERROR #### : Out of memory\n");
        return ICERR_MEMORY;
    }
}

} // namespace driver
