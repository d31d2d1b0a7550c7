#pragma once

#include <server/bridge/broker_socket_p.h>
#include <server/bridge/mqtt_client.h>

#include <QtCore/QHash>

#include <condition_variable>
#include <deque>
#include <mutex>

struct mosquitto;

/// What a client and its thread share: orders one way, news the other. It outlives whichever of them ends first.
class CMqttClient::Shared
{
public:
    struct Order
    {
        qint64 id = 0;
        MqttMessage message{};
        int connection = 0; ///< for which it is meant
    };
    struct News
    {
        enum Kind
        {
            Connected,
            Ended,
            Failed,
            Published,
            Received
        };
        Kind kind;
        qint64 id = 0;
        QString text{};
        MqttMessage message{};
    };

    // Of the client
    void order(Order order);
    void stop();
    std::deque<News> takeNews();
    void forgetReceiver();
    qint64 dropped();
    /// False when the thread has not ended in time.
    bool waitForEnd(int milliseconds);

    // Of the thread
    std::deque<Order> takeOrders();
    bool isStopping();
    void tell(News news);
    void ended();

    BrokerSocket::Waker waker;
    QObject* receiver = nullptr; ///< whose drain() is called when there is news

private:
    friend class CMqttClient;
    std::mutex m_mutex;
    std::condition_variable m_end;
    std::deque<Order> m_orders;
    std::deque<News> m_news;
    int m_waitingMessages = 0;
    qint64 m_waitingBytes = 0;
    qint64 m_dropped = 0;
    bool m_isStopping = false;
    bool m_isStarted = false;
    bool m_hasEnded = true;
};

/// The life of the thread: connections one after the other, with pauses between them.
struct CMqttClient::Thread
{
    Thread(const MqttSettings& ownSettings, std::shared_ptr<Shared> ownShared)
        : settings(ownSettings)
        , shared(std::move(ownShared))
    {
    }

    void run();

    // Called back by the library
    void onConnect(int reason);
    void onDisconnect(int reason);
    void onSubscribe(int count, const int* granted);
    void onPublish(int number, int reason);
    void onMessage(const char* topic, const void* payload, int size);

private:
    /// One connection from its beginning to its end; why it ended or did not come about.
    QString connectOnce();
    QString open();
    QString serve();
    QString prepare(void* tlsContext);
    QString publish(const Shared::Order& order);
    void pause(int milliseconds);

    const MqttSettings settings;
    const std::shared_ptr<Shared> shared;
    mosquitto* client = nullptr;
    QHash<int, qint64> numbers; ///< ids of messages that are not acknowledged, by their numbers on the connection
    QString refusal;            ///< by the broker, in this connection
    int connection = 0;         ///< number of this one
    bool isUp = false;
    bool hasFarewell = false;
};
