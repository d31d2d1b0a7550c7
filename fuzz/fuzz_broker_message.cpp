// Topics and payloads from a broker, at which anybody may have written.
#include "fuzz_support.h"

#include <server/bridge/bridge_message_p.h>

FUZZ_TARGET(broker_message)
{
    const BridgeTopics topics(QStringLiteral("0012.3457"), QStringLiteral("North"));
    while (!input.atEnd()) {
        const QString topic = input.text();
        const QByteArray payload = input.word();
        if (const auto place = topics.parse(topic)) {
            FUZZ_CHECK(!place->server.isEmpty() && !place->server.contains(QLatin1Char('/')));
            FUZZ_CHECK(topics.other(place->server, place->rest) == topic);
        }
        if (const auto read = BridgeNotification::fromPayload(payload)) {
            FUZZ_CHECK(read->seq > 0 && !read->source.isEmpty());
            const auto again = BridgeNotification::fromPayload(read->toPayload());
            FUZZ_CHECK(again && again->seq == read->seq && again->source == read->source
                       && again->epoch == read->epoch);
        }
        if (const auto asked = BridgeReplay::fromPayload(payload))
            FUZZ_CHECK(asked->from > 0 && asked->to >= asked->from);
    }
}
