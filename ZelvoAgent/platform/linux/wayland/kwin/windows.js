// Runs inside KWin (Plasma 5.27 and 6). The program writes one line before it:
//   var desk = {service: ..., path: ..., interface: ..., token: ...};
// The script calls Next, whose reply is the program's next command and may be late; it carries the command out and
// calls Next again with the answer. It calls Changed after a change; that reply is late too, so that many changes
// give few calls.
(function () {
    "use strict";
    var maxText = 2000;
    var isReporting = false;
    var hasMore = false;

    function allWindows() {
        return workspace.windowList ? workspace.windowList() : workspace.clientList();
    }

    function rectangle(area) {
        return area ? [area.x, area.y, area.width, area.height] : null;
    }

    function text(value) {
        return value === undefined || value === null ? "" : String(value).substr(0, maxText);
    }

    function isXWindow(window) {
        return /X11Window|XwaylandWindow|Unmanaged/.test(String(window));
    }

    // A window of KWin's own, such as a switcher; it shows others.
    function isInternal(window) {
        return /InternalWindow/.test(String(window));
    }

    function isOnDesktop(window) {
        if (window.onAllDesktops)
            return true;
        if (typeof window.desktop === "number")
            return window.desktop === workspace.currentDesktop;
        var desktops = window.desktops;
        if (!desktops || desktops.length === 0)
            return true;
        for (var at = 0; at < desktops.length; ++at)
            if (desktops[at] === workspace.currentDesktop || desktops[at].id === workspace.currentDesktop.id)
                return true;
        return false;
    }

    function isInActivity(window) {
        var activities = window.activities;
        if (!activities || !activities.length || !workspace.currentActivity)
            return true;
        for (var at = 0; at < activities.length; ++at)
            if (activities[at] === workspace.currentActivity)
                return true;
        return false;
    }

    function kindOf(window) {
        if (window.popupWindow || window.popupMenu || window.dropdownMenu || window.tooltip || window.comboBox ||
            window.appletPopup)
            return "popup";
        if (window.dock)
            return "dock";
        if (window.desktopWindow || window.layer === 0)
            return "desktop";
        if (window.notification || window.criticalNotification || window.onScreenDisplay || window.layer >= 9)
            return "overlay";
        return window.dialog || window.transient ? "dialog" : "normal";
    }

    function describe(window) {
        var parent = window.transientFor;
        return {
            id: String(window.internalId),
            pid: isInternal(window) ? 0 : window.pid,
            desktopFile: text(window.desktopFileName),
            instance: text(window.resourceName),
            className: text(window.resourceClass),
            title: text(window.caption),
            frame: rectangle(window.frameGeometry),
            surface: rectangle(window.bufferGeometry),
            stacking: window.stackingOrder,
            parent: parent ? String(parent.internalId) : "",
            kind: kindOf(window),
            active: !!window.active,
            minimized: !!window.minimized,
            shown: !window.minimized && !window.hidden && isOnDesktop(window) && isInActivity(window),
            above: !!window.keepAbove,
            fullScreen: !!window.fullScreen,
            x11: isXWindow(window)
        };
    }

    function look() {
        var found = [];
        allWindows().forEach(function (window) {
            if (!window.deleted && !window.outline)
                found.push(describe(window));
        });
        var pointer = workspace.cursorPos;
        return {windows: found, pointer: pointer ? [pointer.x, pointer.y] : null};
    }

    function find(id) {
        var found = allWindows().filter(function (window) { return String(window.internalId) === id; });
        return found.length ? found[0] : null;
    }

    function activate(window) {
        if (window.minimized)
            window.minimized = false;
        if ("activeWindow" in workspace)
            workspace.activeWindow = window;
        else
            workspace.activeClient = window;
        return !!window.active;
    }

    function putInFront(window) {
        window.keepAbove = true;
        window.onAllDesktops = true;
        window.skipTaskbar = window.skipPager = window.skipSwitcher = true;
        if (workspace.raiseWindow)
            workspace.raiseWindow(window);
        return activate(window);
    }

    function carryOut(command) {
        var answer = {};
        var window = command.window ? find(command.window) : null;
        if (command.verb === "look")
            answer = look();
        else if (command.verb === "activate")
            answer = {done: !!window && activate(window)};
        else if (command.verb === "putInFront")
            answer = {done: !!window && putInFront(window)};
        answer.command = command.id;
        return answer;
    }

    function next(answer) {
        callDBus(desk.service, desk.path, desk.interface, "Next", desk.token, answer, function (command) {
            var made = "";
            try {
                command = JSON.parse(command);
                if (command.verb === "end")
                    return;
                if (command.verb !== "wait")
                    made = JSON.stringify(carryOut(command));
            } catch (failure) {
                made = ""; // The program notices by the missing answer.
            }
            next(made);
        });
    }

    function changed() {
        hasMore = isReporting;
        if (isReporting)
            return;
        isReporting = true;
        callDBus(desk.service, desk.path, desk.interface, "Changed", desk.token, function () {
            isReporting = false;
            if (hasMore)
                changed();
        });
    }

    function watch(window) {
        ["frameGeometryChanged", "bufferGeometryChanged", "captionChanged", "minimizedChanged", "hiddenChanged",
         "desktopChanged", "desktopsChanged", "activitiesChanged", "activeChanged", "keepAboveChanged", "fullScreenChanged",
         "stackingOrderChanged", "transientChanged", "desktopFileNameChanged", "windowClassChanged",
         "clientMinimized", "clientUnminimized"].forEach(function (name) {
            if (window[name] && window[name].connect)
                window[name].connect(changed);
        });
    }

    function watchWorkspace(names, handler) {
        names.forEach(function (name) {
            if (workspace[name] && workspace[name].connect)
                workspace[name].connect(handler);
        });
    }

    allWindows().forEach(watch);
    watchWorkspace(["windowAdded", "clientAdded"], function (window) {
        watch(window);
        changed();
    });
    watchWorkspace(["windowRemoved", "clientRemoved", "windowActivated", "clientActivated", "currentDesktopChanged",
                    "currentActivityChanged", "stackingOrderChanged"], changed);
    next("");
})();
