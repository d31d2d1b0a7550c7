"use strict";
// The page speaks the API of its own server and nothing else. What comes from there is shown as text, never as HTML.
(() => {
    const $ = id => document.getElementById(id);
    const mostEvents = 50;
    const mostFound = 20;
    const userClass = 1;
    const lookMs = 5000; // whether the session goes on: of one that has ended nothing is heard any more

    // --- Language

    let language = "en";
    // Isolated, and without signs that would end that: a name that is written from right to left, or says that it is,
    // turns nothing around it.
    const isolated = value => `\u2068${String(value).replace(/[\u202a-\u202e\u2066-\u2069]/g, "")}\u2069`;
    const text = (key, ...values) => texts[language][key].replace(/%([1-9])/g, (_, place) => isolated(values[place - 1]));
    const reason = name => texts[language].reasons[name] || name;
    const shownTime = iso => new Date(iso).toLocaleString(language, {dateStyle: "short", timeStyle: "medium"});

    const remembered = key => { try { return localStorage.getItem(key); } catch (error) { return null; } };
    const remember = (key, value) => { try { localStorage.setItem(key, value); } catch (error) { /* for this visit only */ } };

    const speak = chosen => {
        language = chosen;
        document.documentElement.lang = chosen;
        document.title = text("title");
        $("language").value = chosen;
        for (const element of document.querySelectorAll("[data-text]"))
            element.textContent = text(element.dataset.text);
        if (socket)
            refresh();
    };

    // --- Elements

    const element = (name, properties = {}, ...children) => {
        const made = Object.assign(document.createElement(name), properties);
        made.append(...children);
        return made;
    };
    // Written in its own direction, whatever stands around it.
    const named = (value, className = "name") => element("bdi", {className: className, textContent: value, dir: "auto"});
    const row = (...children) => element("li", {}, ...children);
    const button = (label, act, className = "") => {
        const made = element("button", {type: "button", className: className, textContent: label});
        made.addEventListener("click", act);
        return made;
    };
    const keyed = (key, line) => { line.dataset.key = key; return line; };
    const listOf = section => $(section).querySelector(".list");
    const note = (section, value) => { $(section).querySelector(".note").textContent = value; };

    // --- The API

    class Refusal extends Error {
        constructor(error) {
            super(error.message);
            this.code = error.code;
        }
    }
    const notLoggedIn = -32001, loginRefused = -32002, notPermitted = -32003, codeNeeded = -32004, tooMany = -32029;

    // Log-in goes by POST: only so does the server give a cookie, which no script can read.
    const post = async (method, params) => {
        const response = await fetch("/api", {
            method: "POST", credentials: "same-origin", headers: {"Content-Type": "application/json"},
            body: JSON.stringify({jsonrpc: "2.0", id: 1, method: method, params: params})});
        const answer = await response.json();
        if (answer.error)
            throw new Refusal(answer.error);
        return answer.result;
    };

    let socket = null;
    let lastId = 0;
    let waiting = new Map();
    let pause = 1000;
    let reconnect = 0;

    const call = (method, ...params) => new Promise((resolve, reject) => {
        if (!socket || socket.readyState !== WebSocket.OPEN)
            return reject(new Error(text("offline")));
        const id = ++lastId;
        waiting.set(id, {resolve: resolve, reject: reject});
        socket.send(JSON.stringify({jsonrpc: "2.0", id: id, method: method, params: params}));
    });

    const onMessage = event => {
        const message = JSON.parse(event.data);
        if (message.method)
            return message.method === "notify" ? onNotification(message.params) : undefined;
        const call = waiting.get(message.id);
        waiting.delete(message.id);
        if (!call)
            return;
        if (message.omitted)
            message.result.omitted = message.omitted; // what the limit has left out of the list
        if (!message.error)
            return call.resolve(message.result);
        if (message.error.code === notLoggedIn)
            leave(text("ended"));
        call.reject(new Refusal(message.error));
    };

    const link = () => {
        clearTimeout(reconnect);
        const made = new WebSocket(`wss://${location.host}/api`);
        socket = made;
        made.addEventListener("message", onMessage);
        made.addEventListener("open", async () => {
            try {
                await call("registerObserver", ["Model", "Access", "Devices"]);
                pause = 1000;
                $("link").hidden = true;
                refresh();
            } catch (error) { /* its end is told */ }
        });
        made.addEventListener("close", () => {
            if (made !== socket)
                return;
            for (const call of waiting.values())
                call.reject(new Error(text("offline")));
            waiting = new Map();
            $("link").hidden = false;
            $("link").textContent = text("offline");
            reconnect = setTimeout(begin, pause);
            pause = Math.min(pause * 2, 30000);
        });
    };

    const look = () => { if (socket && socket.readyState === WebSocket.OPEN) call("getLoggedInId").catch(() => 0); };
    setInterval(look, lookMs);

    const unlink = () => {
        clearTimeout(reconnect);
        const old = socket;
        socket = null;
        waiting = new Map();
        if (old)
            old.close();
    };

    // --- Log-in

    const show = loggedIn => {
        $("login").hidden = loggedIn;
        $("work").hidden = !loggedIn;
        $("logout").hidden = !loggedIn;
        $("link").hidden = true;
    };

    const enter = () => {
        show(true);
        link();
    };

    const leave = told => {
        unlink();
        show(false);
        $("why").hidden = true;
        for (const list of document.querySelectorAll(".list"))
            list.replaceChildren();
        $("verdict").textContent = "";
        $("login-error").textContent = told;
        $("password").value = $("code").value = "";
        $("code-line").hidden = true;
        ($("name").value ? $("password") : $("name")).focus();
    };

    // Is there a session already?
    const begin = async () => {
        try {
            await post("getLoggedInId", []);
            enter();
        } catch (error) {
            if (error instanceof Refusal)
                return leave("");
            $("link").hidden = false;
            $("link").textContent = text("offline");
            reconnect = setTimeout(begin, pause);
            pause = Math.min(pause * 2, 30000);
        }
    };

    $("login").addEventListener("submit", async event => {
        event.preventDefault();
        const submit = $("login").querySelector("button");
        submit.disabled = true;
        $("login-error").textContent = "";
        try {
            const code = $("code").value.trim();
            await post("login", [$("name").value, $("password").value, ...(code ? [code] : [])]);
            $("password").value = $("code").value = "";
            $("code-line").hidden = true;
            enter();
        } catch (error) {
            const known = {[loginRefused]: "wrongLogin", [codeNeeded]: "codeNeeded", [tooMany]: "tooMany"}[error.code];
            $("login-error").textContent = known ? text(known) : text("failed", error.message);
            if (error.code === codeNeeded) {
                $("code-line").hidden = false;
                $("code").focus();
            } else {
                $("password").select();
                $("password").focus();
            }
        } finally {
            submit.disabled = false;
        }
    });

    $("logout").addEventListener("click", async () => {
        try {
            await post("logout", []);
        } catch (error) { /* it has ended already */ }
        leave("");
    });

    // --- What is shown

    // Fills a section; what this person may not see is not there.
    const fill = async (section, ask, showAll, more = "more") => {
        try {
            const result = await ask();
            $(section).hidden = false;
            const list = listOf(section);
            // Who is in a row by the keyboard stays there.
            const key = list.contains(document.activeElement) ? document.activeElement.closest("li").dataset.key : "";
            list.replaceChildren(...showAll(result));
            const same = key ? [...list.children].find(line => line.dataset.key === key) : null;
            if (same && same.querySelector("button"))
                same.querySelector("button").focus();
            note(section, list.children.length === 0 ? text("none") : result.omitted ? text(more, result.omitted) : "");
        } catch (error) {
            if (error.code === notPermitted)
                $(section).hidden = true;
            else if (error.code !== notLoggedIn)
                note(section, text("failed", error.message));
        }
    };

    let allDoors = [];

    const doorRow = door => {
        const line = keyed(door.id, row(
            element("span", {className: "grow"}, named(door.label), " ", named(door.location || "", "more"), " ",
                    element("span", {className: "bad", textContent: door.enabled === false ? text("disabled") : ""}))));
        const ask = button(text("open"), () => {
            const really = element("span", {className: "really"}, text("really", door.label), " ");
            const stop = () => { line.replaceChild(ask, really); ask.focus(); };
            const open = button(text("open"), async () => {
                open.disabled = true;
                try {
                    const done = await call("openAccessPoint", door.id, {});
                    note("doors", done ? text("opened", door.label) : text("notOpened", door.label, ""));
                } catch (error) {
                    note("doors", text("notOpened", door.label,
                                       error.code === notPermitted ? text("notPermitted") : error.message));
                }
                if (really.parentNode === line)
                    stop();
            });
            really.append(open, " ", button(text("cancel"), stop, "plain"));
            line.replaceChild(really, ask);
            open.focus();
        });
        line.append(ask);
        return line;
    };

    const showDoors = () => fill("doors", () => call("getModel", "AccessPoints", {}, []), found => {
        allDoors = found;
        const chosen = $("why-door").value;
        $("why-door").replaceChildren(...found.map(door => element("option", {value: door.id, textContent: door.label, dir: "auto"})));
        if (found.some(door => door.id === chosen))
            $("why-door").value = chosen;
        return found.map(doorRow);
    });

    const eventRow = event => {
        const bad = ["denied", "forced", "held", "loginRefused", "refused"].includes(event.kind);
        const line = keyed(`${event.chain} ${event.seq}`, row(
            element("time", {dateTime: event.at, textContent: shownTime(event.at)}),
            element("span", {className: bad ? "bad" : event.kind === "granted" ? "good" : "",
                             textContent: texts[language].kinds[event.kind] || event.kind}),
            element("span", {className: "grow"}, named(event.name || event.uid || event.operator || ""), " ",
                    named(event.door || event.device || "", ""), " ",
                    element("span", {className: "more", textContent: event.reason ? reason(event.reason) : ""}))));
        if (event.user && event.accessPoint && (event.kind === "denied" || event.kind === "granted"))
            line.append(button(text("why"), () => why({id: event.user, label: event.name}, event), "plain"));
        return line;
    };
    const showEvents = () => fill("events", () => call("events.list", {}, mostEvents), found => found.reverse().map(eventRow), "older");

    const deviceRow = device => row(
        element("span", {className: "grow"}, named(device.label), " ",
                element("span", {className: "more", textContent: `${device.typeName || ""} ${device.server || ""}`})),
        element("span", {className: "more", textContent: device.since ? text("since", shownTime(device.since)) : ""}),
        element("span", {className: device.upToDate ? "good" : "bad", textContent: text(device.upToDate ? "upToDate" : "notUpToDate")}));
    const showDevices = () => fill("devices", () => call("devices.list"), found => found.map(deviceRow));

    const refresh = () => Promise.all([showDoors(), showEvents(), showDevices()]);

    // Many changes, one look.
    const later = act => {
        let timer = 0;
        return () => {
            clearTimeout(timer);
            timer = setTimeout(act, 150);
        };
    };
    // Nobody is asked about one door and finds another one under the finger.
    const doorsLater = later(() => document.querySelector("#doors .really") ? doorsLater() : showDoors());
    const eventsLater = later(showEvents), devicesLater = later(showDevices);
    const onNotification = params => {
        if (params[0] === "Devices")
            devicesLater();
        if (params[0] === "Model")
            doorsLater();
        eventsLater();
    };

    // --- Find a user

    const personRow = person => row(
        element("span", {className: "grow"}, named(person.label), " ", named(person.Department || "", "more"), " ",
                element("span", {className: "bad", textContent: person.enabled === false ? text("disabled") : ""})),
        button(text("why"), () => why(person, null), "plain"));

    $("find").addEventListener("submit", async event => {
        event.preventDefault();
        try {
            const found = await call("items.find", "UsersGroups", $("find-text").value, mostFound, userClass);
            listOf("people").replaceChildren(...found.map(personRow));
            note("people", found.length === 0 ? text("nobody") : found.omitted ? text("more", found.omitted) : "");
        } catch (error) {
            listOf("people").replaceChildren();
            note("people", error.code === notPermitted ? text("notPermitted") : text("failed", error.message));
        }
    });

    // --- Why

    let asked = null;

    const why = (person, event) => {
        asked = person;
        $("why").hidden = false;
        $("why-user").replaceChildren(named(person.label));
        $("verdict").textContent = "";
        listOf("why").replaceChildren();
        if (event)
            $("why-door").value = event.accessPoint;
        $("why").focus();
        $("why").scrollIntoView({block: "nearest"});
        if (event)
            ask(event.accessPoint, event.at, event.medium || "");
    };

    // The name of an item, or its number where it is gone or this person may not see it.
    const labelOf = async (collection, id) => {
        try {
            const found = await call("getModel", collection, {id: id}, []);
            return found.length > 0 ? found[0].label || found[0].description || id : id;
        } catch (error) {
            return id;
        }
    };

    const chainRow = async chain => {
        const parts = await Promise.all([
            chain.group ? labelOf("UsersGroups", chain.group) : text("ownRight"),
            chain.right ? text("right", chain.right) : "",
            chain.schedule ? labelOf("TimeProfiles", chain.schedule) : chain.right ? text("always") : "",
            chain.credential ? labelOf("Media", chain.credential) : ""]);
        const path = element("span", {className: "grow"});
        for (const part of parts.filter(part => part !== ""))
            path.append(path.childNodes.length > 0 ? " › " : "", named(part, ""));
        return row(element("span", {className: chain.allowed ? "good" : "bad", textContent: chain.allowed ? "✓" : "✗"}), path,
                   element("span", {className: "more", textContent: chain.reason ? reason(chain.reason) : ""}));
    };

    const ask = async (door, at, credential) => {
        const person = asked;
        const label = (allDoors.find(item => item.id === door) || {label: door}).label;
        try {
            const answer = await call("access.why", person.id, door, at, credential);
            const chains = await Promise.all(answer.chains.map(chainRow));
            if (person !== asked)
                return;
            const time = at ? shownTime(at) : "";
            const verdict = answer.allowed ? (at ? text("allowedAt", person.label, label, time) : text("allowed", person.label, label))
                : at ? text("deniedAt", person.label, label, time, reason(answer.reason))
                : text("denied", person.label, label, reason(answer.reason));
            $("verdict").className = answer.allowed ? "good" : "bad";
            $("verdict").textContent = answer.next ? `${verdict} ${text("next", shownTime(answer.next))}` : verdict;
            listOf("why").replaceChildren(...chains);
        } catch (error) {
            listOf("why").replaceChildren();
            $("verdict").className = "bad";
            $("verdict").textContent = error.code === notPermitted ? text("notPermitted") : text("failed", error.message);
        }
    };

    $("ask").addEventListener("submit", event => {
        event.preventDefault();
        if (asked && $("why-door").value)
            ask($("why-door").value, "", "");
    });

    // ---

    $("language").addEventListener("change", () => {
        remember("language", $("language").value);
        speak($("language").value);
    });
    const wanted = [remembered("language"), ...navigator.languages].map(name => (name || "").slice(0, 2));
    speak(wanted.find(name => name in texts) || "en");
    begin();
})();
