#include "page/page.h"

#include "server/front_door.h"

#include <QtCore/QFile>

namespace {

struct PageFile
{
    const char* path;
    const char* name;
    const char* contentType;
};

constexpr PageFile files[] = {{"/", "index.html", "text/html; charset=utf-8"},
                              {"/page/icon.svg", "icon.svg", "image/svg+xml"},
                              {"/page/page.css", "page.css", "text/css; charset=utf-8"},
                              {"/page/page.js", "page.js", "text/javascript; charset=utf-8"},
                              {"/page/texts.js", "texts.js", "text/javascript; charset=utf-8"}};

// What a browser lets the page do: its own files, its own server, nothing written into the text, no frame around it.
QList<QByteArray> headers()
{
    const char* const policy = "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
                               "img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
                               "frame-ancestors 'none'";
    return {policy, "Cross-Origin-Opener-Policy: same-origin", "Cross-Origin-Resource-Policy: same-origin",
            "Referrer-Policy: no-referrer", "Cache-Control: no-cache"};
}

} // namespace

void servePage(FrontDoor& door)
{
    Q_INIT_RESOURCE(page);
    for (const PageFile& file : files) {
        QFile content(QLatin1String(":/page/") + QLatin1String(file.name));
        if (!content.open(QIODevice::ReadOnly))
            qFatal("The page is not in order");
        const HttpAnswer answer{200, file.contentType, content.readAll(), headers()};
        door.serve("GET", file.path, [answer](const HttpRequest&, const FrontDoor::Reply& reply) { reply(answer); });
    }
}
