#pragma once

#include <foundation/core/export.h>

#include <QtCore/QtGlobal>

/// What a peer may hold before it has proved who it is. Whoever exceeds a limit loses the connection, with a warning.
namespace ConnectionLimits {

/// Bytes of the request line within which its CR must stand. A real one has about 50: "GET /gw/label/type/label".
constexpr int requestLine = 100;
/// Bytes of a WebSocket message. A device's answer has about 4 KiB: a certificate, a signature and a small challenge.
constexpr quint64 message = 0x10000;
/// Bytes buffered of a WebSocket whose peer has not proved itself: a message has to fit, with what stands around it.
constexpr qint64 strangersBuffer = 2 * static_cast<qint64>(message);
/// Bytes and entries of a challenge that a device signs. A real one has about 70 and two.
constexpr int challengeRequest = 1024;
constexpr int challengeEntries = 16;
/// Bytes that wait for a peer that does not read. All it is sent so far is a challenge, and answers to its pings.
constexpr qint64 writeBacklog = 0x10000;
/// Connections that the system holds until they are accepted. Who finds no room tries again only after a second.
constexpr int listenBacklog = 1024;
/// Handshakes that go on at a time. One takes some milliseconds, so this many let thousands in a second, and cost less
/// than 32 MiB.
constexpr int pendingHandshakes = 256;
/// Requests that wait for one of these places: a whole installation returns in one instant after a power failure, and
/// none of it shall be turned away. They wait only while places become free.
constexpr int waitingRequests = 1024;
/// Visitors of a TLS door who have not handed in a request yet: so many who have said nothing, each of whom costs a
/// descriptor, and so many of the others. The oldest goes first.
constexpr int visitors = 512;
/// Of these, such whose TLS goes on (for a while, see ConnectionTiming): further ones wait for their turn. So each gets
/// through in time and none is displaced, also when a whole installation returns at once.
constexpr int talkingVisitors = 256;
/// Visitors who have begun to talk and wait for their turn, each of whom costs a descriptor. The newest of the largest
/// crowd goes first.
constexpr int waitingVisitors = 8192;
/// Visitors who are new and have said nothing yet: those of a whole installation are there before their words.
constexpr int arrivingVisitors = 2048;
/// Descriptors of a process that its visitors leave free, or a quarter of all: operators, the database and helper
/// programs need some, too.
constexpr int spareDescriptors = 32;
/// Bytes of the head of their request.
constexpr int requestHead = 0x2000;
/// Visitors whose request has a body that is not there yet. The oldest goes first.
constexpr int bodies = 64;
/// Bytes of a body too long that are thrown away, so that whoever sent it reads the answer and no broken connection.
constexpr qint64 drainedBody = 0x1000000;
/// Accepted connections that have said nothing yet. The oldest goes first.
constexpr int silentConnections = 512;
/// Accepted connections whose TLS is not up on a device, which serves a handful of applications and has little memory.
constexpr int startingConnections = 64;
/// Refused connections that a device holds. The oldest goes first.
constexpr int refusedConnections = 256;
/// Bytes buffered of a connection that nobody reads yet. A discovery message has about 80.
constexpr qint64 readBuffer = 0x4000;

/// The answer to a WebSocket request is taken in pieces of so many bytes, one of which may be one byte, and so many of
/// them: 128 KiB at most, and any answer that has up to 2 KiB however slowly it comes. A real one has 200 bytes.
constexpr qint64 answerPiece = 64;
constexpr int answerPieces = 2048;

/// Bytes of messages that wait for a WebSocket's next owner: of a stranger, and of one who is trusted.
constexpr qint64 strangersBacklog = 0x20000;
constexpr qint64 trustedBacklog = 0x4000000;

} // namespace ConnectionLimits

/// How long the stages of a connection may take, in milliseconds. Tests shorten them; everyone else leaves them alone.
struct ConnectionTiming
{
    /// One kind of attempt with one candidate of a job.
    int step = 5000;
    /// The probe of a URL for a redirect.
    int probe = 2500;
    /// A device's request until its WebSocket stands, and again from the challenge until the answer is there.
    int handshake = 5000;
    /// A handshake place has to become free within this time, or those that wait for one are turned away.
    int admission = 1000;
    /// From accept until the peer has said something.
    int silence = 5000;
    /// From a visitor's turn at a TLS door, or from its last answer, until a request is there.
    int request = 10000;
    /// So long a visitor of a TLS door who has said nothing is a new one.
    int arriving = 3000;
    /// So long a visitor who has begun to talk may keep others waiting, from its turn.
    int talking = 2000;
    /// From accept at a door behind a balancer until the balancer has told who is there.
    int proxyHeader = 5000;
    /// From a request at a TLS door to its answer.
    int answer = 60000;
    /// From accept until TLS is up, on a device: its processor may be slow and the line too.
    int tls = 10000;
    /// How long a device holds a connection that it refused.
    int refused = 60000;
    /// From a failure to accept, for want of descriptors, until the next attempt.
    int acceptPause = 500;
    /// While this goes on it is told anew so often.
    int scarcityTold = 60000;

    /// The values in force.
    KYR_FOUNDATION_TEST_EXPORT static ConnectionTiming& current();
};
