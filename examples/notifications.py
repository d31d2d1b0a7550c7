"""notifications.py URL TOKEN AUTHORITY SOURCE...: prints the notifications of these sources, one per line."""

import asyncio, json, ssl, sys, websockets

async def watch(url, token, authority, *sources):
    async with websockets.connect(url, ssl=ssl.create_default_context(cafile=authority)) as link:
        for number, (method, params) in enumerate([("login", [token]), ("registerObserver", [sources])]):
            await link.send(json.dumps({"jsonrpc": "2.0", "id": number, "method": method, "params": params}))
        async for text in link:
            print(text, flush=True)

asyncio.run(watch(*sys.argv[1:]))
