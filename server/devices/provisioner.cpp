#include <server/devices/provisioner.h>

CProvisioner::Commands CProvisioner::want(const CProvisionedList& list, qint64 now)
{
    const bool isSame = list.revision == m_list.revision;
    m_list = list;
    if (isSame)
        return {};
    m_retryAt = 0;
    m_fault.clear();
    return m_isKnown ? begin(true, now) : Commands();
}

void CProvisioner::linked()
{
    unlinked();
    m_isLinked = true;
}

void CProvisioner::unlinked()
{
    stop();
    m_isLinked = false;
    m_isKnown = false;
    m_retryAt = 0;
}

void CProvisioner::stop()
{
    m_queue.clear();
    m_next = 0;
    m_answered = 0;
}

CProvisioner::Commands CProvisioner::begin(bool isDeltaAllowed, qint64 now)
{
    stop();
    if (!m_isLinked || !m_isKnown || m_list.revision.isEmpty() || m_revision == m_list.revision)
        return {};
    const auto delta =
        isDeltaAllowed && !m_revision.isEmpty() ? m_list.deltas.constFind(m_revision) : m_list.deltas.constEnd();
    m_isDelta = delta != m_list.deltas.constEnd() && delta->size() < m_list.whole.size();
    const QByteArray& text = m_isDelta ? *delta : m_list.whole;
    const QVector<QByteArray> parts = CLockMessage::cut(text);
    CLockBegin begin;
    begin.revision = m_list.revision;
    if (m_isDelta)
        begin.base = m_revision;
    begin.parts = parts.size();
    begin.size = text.size();
    m_queue.append(begin);
    for (int i = 0; i < parts.size(); ++i) {
        CLockPart part;
        part.revision = m_list.revision;
        part.index = i;
        part.text = parts.at(i);
        m_queue.append(part);
    }
    m_queue.append(CLockCommit{m_list.revision});
    m_firstNumber = m_lastNumber + 1;
    m_lastNumber += m_queue.size();
    return proceed(now);
}

CProvisioner::Commands CProvisioner::proceed(qint64 now)
{
    m_lastProgress = now;
    Commands commands;
    // The end is sent when all before it has arrived.
    while (m_next < m_queue.size() && m_next - m_answered < window
           && (m_next + 1 < m_queue.size() || m_answered == m_next)) {
        commands.append({m_firstNumber + m_next, m_queue.at(m_next)});
        // It has its own copy.
        m_queue[m_next++] = std::monostate();
    }
    return commands;
}

CProvisioner::Commands CProvisioner::take(const CLockState& state, qint64 now)
{
    if (!m_isLinked)
        return {};
    const bool isNews = !m_isKnown || m_revision != state.revision;
    m_isKnown = true;
    m_revision = state.revision;
    if (m_revision == m_list.revision) {
        stop();
        m_fault.clear();
        return {};
    }
    // States come for other reasons, too: a transfer that goes on is let go on.
    if (!isNews && (isSending() || now < m_retryAt))
        return {};
    return begin(true, now);
}

CProvisioner::Commands CProvisioner::take(const CLockAnswer& answer, qint64 now)
{
    // Answers come in the order of the commands; what was sent behind a refused one is refused, too.
    if (!isSending() || answer.id != m_firstNumber + m_answered || m_answered >= m_next)
        return {};
    if (!answer.isOk()) {
        if (m_isDelta)
            return begin(false, now);
        stop();
        m_fault = answer.error;
        m_retryAt = now + retryPause;
        return {};
    }
    if (++m_answered < m_queue.size())
        return proceed(now);
    stop();
    m_revision = m_list.revision;
    m_fault.clear();
    return {};
}

CProvisioner::Commands CProvisioner::tick(qint64 now)
{
    if (isSending())
        return now - m_lastProgress >= patience ? begin(false, now) : Commands();
    return m_isKnown && m_revision != m_list.revision && now >= m_retryAt ? begin(true, now) : Commands();
}
