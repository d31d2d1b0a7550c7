// Messages of a lock, which may be any device that calls itself one.
#include "fuzz_support.h"

#include <foundation/access/lock_messages.h>

FUZZ_TARGET(lock_from_device)
{
    const CLockFromDevice message = CLockMessage::fromDevice(input.rest());
    if (std::holds_alternative<std::monostate>(message))
        return;
    // What was read is written, and read as the same.
    const QByteArray bytes = CLockMessage::toBytes(message);
    const CLockFromDevice again = CLockMessage::fromDevice(bytes);
    FUZZ_CHECK(again.index() == message.index() || bytes.size() > CLockMessage::longest);
    FUZZ_CHECK(bytes.size() > CLockMessage::longest || CLockMessage::toBytes(again) == bytes);
    if (const auto* events = std::get_if<CLockEvents>(&message)) {
        FUZZ_CHECK(!events->events.isEmpty() && events->events.size() <= CLockMessage::mostEvents);
        FUZZ_CHECK(events->events.constLast().number - events->events.constFirst().number == events->events.size() - 1);
    }
    if (const auto* state = std::get_if<CLockState>(&message))
        FUZZ_CHECK(state->acknowledged < state->next && state->first <= state->next && state->lost < state->next);
    if (const auto* ask = std::get_if<CLockAsk>(&message))
        FUZZ_CHECK(!ask->credential.isNone());
}
