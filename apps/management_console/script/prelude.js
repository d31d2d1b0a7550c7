// What a script finds before its first line. `bridge` is the console's side; a script never sees it.
(function (bridge, names, global) {
    "use strict";

    const shown = value => {
        if (typeof value !== "object" || value === null || value instanceof Error)
            return String(value);
        try {
            return JSON.stringify(value);
        } catch (error) { // it contains itself
            return String(value);
        }
    };
    const line = values => values.map(shown).join(" ");

    const kyr = {};
    for (const name of names)
        kyr[name] = (...values) => bridge.call(name, values);
    kyr.setNotificationHandler = handler => bridge.setNotificationHandler(handler);
    kyr.errorString = () => bridge.errorString();
    global.kyr = Object.freeze(kyr);

    global.print = (...values) => bridge.print(line(values));
    const warn = (...values) => bridge.warn(line(values));
    global.console = {log: global.print, info: global.print, debug: global.print, warn: warn, error: warn};
    global.exit = code => bridge.exit(code === undefined ? 0 : Number(code));
    global.setTimeout = (callee, ms, ...values) => bridge.setTimer(callee, values, Number(ms) || 0);
    global.clearTimeout = timer => bridge.clearTimer(Number(timer) || 0);
    global.readFile = name => bridge.readFile(String(name));
    global.readCsv = name => bridge.readCsv(String(name));
    global.events = filter => bridge.events(filter);

    // The engine tells nobody that a promise goes on, or that its failure was handled by nobody.
    const then = Promise.prototype.then;
    const failures = new Map();
    Promise.prototype.then = function (done, failed) {
        failures.delete(this);
        let next;
        const step = callee => typeof callee !== "function" ? callee : value => {
            bridge.stir();
            try {
                return callee(value);
            } catch (error) {
                failures.set(next, error);
                throw error;
            }
        };
        const known = this;
        const pass = failed === undefined ? error => { failures.set(next, error); throw error; } : step(failed);
        next = then.call(known, step(done), pass);
        return next;
    };
    Promise.prototype.catch = function (failed) { return this.then(undefined, failed); };

    return {
        // What comes back tells that nothing was thrown.
        run: (callee, values, mark) => { callee(...values); return mark; },
        unhandled: () => failures.size > 0 ? [[...failures.values()][0]] : [],
    };
})
