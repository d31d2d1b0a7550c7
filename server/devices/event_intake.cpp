#include <server/devices/event_intake.h>

CEventIntake CEventIntake::of(const CLockEvents& events, qint64 stored)
{
    CEventIntake intake;
    intake.upTo = stored;
    for (const CLockEvent& event : events.events) {
        if (event.number <= intake.upTo)
            continue;
        intake.lost += event.number - intake.upTo - 1;
        intake.upTo = event.number;
        intake.news.append(event);
    }
    return intake;
}

std::optional<CLockAcknowledge> CEventIntake::reminder(const CLockState& state, qint64 stored)
{
    if (stored <= state.acknowledged)
        return std::nullopt;
    return CLockAcknowledge{state.epoch, stored};
}
