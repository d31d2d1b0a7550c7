#include "shell/input_lines.h"

#include <foundation/cli/standard_io_handler.h>

InputLines::~InputLines()
{
    if (m_channel)
        m_channel->stop();
}

void InputLines::want()
{
    if (m_ended) {
        QMetaObject::invokeMethod(this, &InputLines::ended, Qt::QueuedConnection);
    } else if (m_started) {
        m_channel->readLine();
    } else {
        m_started = true;
        m_channel = new CStandardIOHandler(nullptr);
        connect(m_channel.data(), &CAbstractCliIO::lineReady, this, &InputLines::lineRead);
        connect(m_channel.data(), &CAbstractCliIO::inputEnded, this, [this] {
            m_ended = true;
            Q_EMIT ended();
        });
        m_channel->start();
    }
}
