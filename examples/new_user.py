"""new_user.py wss://HOST:PORT/api AUTHORITY NAME PASSWORD LABEL DOOR: makes a user, grants a door, and hears of it."""
import asyncio, json, ssl, sys
import websockets


async def main(url, authority, name, password, label, door):
    async with websockets.connect(url, ssl=ssl.create_default_context(cafile=authority)) as socket:
        async def call(method, *params):
            await socket.send(json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params}))
            while "id" not in (answer := json.loads(await socket.recv())):
                print("heard of", answer["params"])  # between the question and its answer
            return answer["result"] if "result" in answer else sys.exit(answer["error"]["message"])

        print("may:", *(await call("login", name, password))["permissions"])
        await call("registerObserver", ["Model"])
        user = await call("createUser", {"label": label})
        await call("addAccessPointsToUser", [door], user)
        print(user, "at", door, "allowed:", (await call("access.why", user, door))["allowed"])


asyncio.run(main(*sys.argv[1:]))
