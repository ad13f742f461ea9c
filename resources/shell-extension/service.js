// The object dev.zelvo.Shell on the shell's own connection to the session bus. It answers one program only: the one
// whose path is in the file "program" beside this one.

const OBJECT_PATH = '/dev/zelvo/Shell';
const WINDOWS = 'a(sisssss(iiii)(iiii)suu)';
const INTERFACE = `<node><interface name="dev.zelvo.Shell">
    <method name="Look">
        <arg type="${WINDOWS}" direction="out"/>
        <arg type="(iib)" direction="out"/>
    </method>
    <method name="Watch"/>
    <method name="Layout"><arg type="i" direction="out"/></method>
    <method name="Activate"><arg type="s" direction="in"/><arg type="b" direction="out"/></method>
    <method name="PutInFront"><arg type="s" direction="in"/><arg type="b" direction="out"/></method>
    <method name="Paint">
        <arg type="s" direction="in"/>
        <arg type="as" direction="in"/>
        <arg type="h" direction="in"/>
        <arg type="(uuuu)" direction="out"/>
        <arg type="${WINDOWS}" direction="out"/>
    </method>
    <method name="GrabKey"><arg type="b" direction="out"/></method>
    <method name="ReadText"><arg type="h" direction="in"/><arg type="u" direction="out"/></method>
    <method name="WriteText">
        <arg type="h" direction="in"/>
        <arg type="u" direction="in"/>
        <arg type="b" direction="out"/>
    </method>
    <method name="ListForms"><arg type="as" direction="out"/></method>
    <method name="ReadForm">
        <arg type="s" direction="in"/>
        <arg type="h" direction="in"/>
        <arg type="b" direction="out"/>
        <arg type="u" direction="out"/>
    </method>
    <method name="WriteForm">
        <arg type="s" direction="in"/>
        <arg type="h" direction="in"/>
        <arg type="u" direction="in"/>
        <arg type="b" direction="out"/>
    </method>
    <signal name="Ready"/>
    <signal name="Gone"/>
    <signal name="Changed"/>
    <signal name="KeyPressed"/>
    <signal name="TextChanged"><arg type="b"/></signal>
</interface></node>`;

const MAX_WINDOWS = 1000;
const MAX_OWNERS = 100; // of a part of the shell's interface
const MAX_NAME = 1000; // characters
const CHANGE_PAUSE = 10; // ms; changes within it are one
const PICTURES_BETWEEN_COLLECTIONS = 4;

const HOT_KEY = '<Control><Alt><Super>p';
const MAX_TEXT = 31 * 1024 * 1024; // bytes
const MAX_SILENCE = 5; // s
const MAX_READING = 30; // s
const TEXT_TYPES = ['text/plain;charset=utf-8', 'UTF8_STRING', 'text/plain'];

const CHROME = 6; // the kind of what names an application but is no window

const FLAG = {active: 1, minimized: 2, onScreen: 4, above: 8, fullScreen: 16, x11: 32};

/// What the person sees as the reason why there is no picture.
class Refusal extends Error {}

function cut(text) {
    return (text ?? '').slice(0, MAX_NAME);
}

function rectangle(r) {
    return [r.x, r.y, r.width, r.height];
}

/// Device and inode of a file, symbolic links resolved: a path alone can be imitated by a mount.
function fileIdentity(path) {
    const info = Gio.File.new_for_path(path).query_info('unix::device,unix::inode', 0, null);
    return `${info.get_attribute_uint32('unix::device')}:${info.get_attribute_uint64('unix::inode')}`;
}

/// Throws if another program may control the process: as its debugger, or by a library that was loaded into it.
function assertUntouched(pid) {
    const read = name => new TextDecoder().decode(GLib.file_get_contents(`/proc/${pid}/${name}`)[1]);
    if (!/^TracerPid:\s*0$/m.test(read('status')))
        throw new Error('traced');
    if (read('environ').split('\0').some(entry => /^LD_(PRELOAD|AUDIT|LIBRARY_PATH)=./s.test(entry)))
        throw new Error('other libraries');
}

/// Answers the recorded program, and nobody else.
class Callers {
    constructor(folder) {
        const [, bytes] = GLib.file_get_contents(GLib.build_filenamev([folder, 'program']));
        this._program = new TextDecoder().decode(bytes).trim();
        this._pids = new Map(); // unique name -> pid of a caller that was checked
        this._watches = new Map();
    }

    /// The caller's process id. Throws if it is not our program.
    async check(sender) {
        const known = this._pids.get(sender);
        if (known)
            return known;
        const pid = await this._pidOf(sender);
        if (fileIdentity(`/proc/${pid}/exe`) !== fileIdentity(this._program))
            throw new Error('another program');
        assertUntouched(pid);
        this._pids.set(sender, pid);
        this._watches.set(sender, Gio.bus_watch_name_on_connection(
            Gio.DBus.session, sender, 0, null, () => this._forget(sender)));
        return pid;
    }

    _pidOf(sender) {
        return new Promise((resolve, reject) => {
            Gio.DBus.session.call('org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus',
                'GetConnectionUnixProcessID', new GLib.Variant('(s)', [sender]), new GLib.VariantType('(u)'), 0, 1000,
                null, (bus, result) => {
                    try {
                        resolve(bus.call_finish(result).deepUnpack()[0]);
                    } catch (e) {
                        reject(e);
                    }
                });
        });
    }

    _forget(sender) {
        this._pids.delete(sender);
        Gio.bus_unwatch_name(this._watches.get(sender));
        this._watches.delete(sender);
        this.onGone?.(sender);
    }

    destroy() {
        for (const watch of this._watches.values())
            Gio.bus_unwatch_name(watch);
    }
}

const Kind = {
    [Meta.WindowType.NORMAL]: 0,
    [Meta.WindowType.DIALOG]: 1,
    [Meta.WindowType.MODAL_DIALOG]: 1,
    [Meta.WindowType.DROPDOWN_MENU]: 2,
    [Meta.WindowType.POPUP_MENU]: 2,
    [Meta.WindowType.TOOLTIP]: 2,
    [Meta.WindowType.COMBO]: 2,
    [Meta.WindowType.DND]: 2,
    [Meta.WindowType.OVERRIDE_OTHER]: 2,
    [Meta.WindowType.DOCK]: 3,
    [Meta.WindowType.NOTIFICATION]: 4,
    [Meta.WindowType.DESKTOP]: 5,
};

function idOf(window) {
    return String(window.get_stable_sequence());
}

function isOnScreen(window) {
    const workspace = global.workspace_manager.get_active_workspace();
    return !window.minimized && window.located_on_workspace(workspace) && window.showing_on_its_workspace();
}

/// A window as the signature in WINDOWS has it.
function describe(window) {
    const app = Shell.WindowTracker.get_default().get_window_app(window);
    const parent = window.get_transient_for();
    const isX11 = window.get_client_type() === Meta.WindowClientType.X11;
    const flags = (window.has_focus() ? FLAG.active : 0) | (window.minimized ? FLAG.minimized : 0) |
        (isOnScreen(window) ? FLAG.onScreen : 0) | (window.is_above() ? FLAG.above : 0) |
        (window.is_fullscreen() ? FLAG.fullScreen : 0) | (isX11 ? FLAG.x11 : 0);
    const entry = app && !app.is_window_backed() ? app.get_id() : '';
    return [
        idOf(window), window.get_pid(), cut(window.get_wm_class()), cut(window.get_wm_class_instance()),
        cut(entry), cut(window.get_gtk_application_id() ?? window.get_sandboxed_app_id()), cut(window.get_title()),
        rectangle(window.get_frame_rect()), rectangle(window.get_buffer_rect()), parent ? idOf(parent) : '',
        Kind[window.get_window_type()] ?? 0, flags,
    ];
}

/// The window of an actor; null if it is on its way out.
function windowOf(actor) {
    return actor.is_destroyed() ? null : actor.get_meta_window();
}

/// Everything that may draw a window. Those of closed windows fade out and are no longer among the shell's window
/// actors.
function allActors() {
    const groups = [...global.window_group.get_children(), ...global.top_window_group.get_children()];
    return [...new Set([...global.get_window_actors(), ...groups.filter(a => a instanceof Meta.WindowActor)])];
}

/// A part of the shell's interface as the signature in WINDOWS has it, with the words of its owner: a window, a desktop
/// entry or a process.
function describePart(id, {window = null, entry = '', pid = 0}) {
    const area = [0, 0, 0, 0];
    if (!window)
        return [id, pid, '', '', cut(entry), '', '', area, area, '', CHROME, 0];
    const [, ...words] = describe(window).slice(0, 6);
    const flags = window.get_client_type() === Meta.WindowClientType.X11 ? FLAG.x11 : 0;
    return [id, ...words, '', area, area, idOf(window), CHROME, flags];
}

/// Whom an application's name gives away: each of its windows may be hidden by other names.
function ownersOf(app) {
    if (!app)
        return [];
    const entry = app.is_window_backed() ? [] : [{entry: app.get_id()}];
    return [...app.get_windows().slice(0, MAX_OWNERS).map(window => ({window})), ...entry];
}

/// The parts of the shell's interface that name applications, windows or not.
class Chrome {
    constructor() {
        this._appMenu = Main.panel.statusArea.appMenu ?? null; // Shells from 45 on have none.
        this._signal = this._appMenu?.connect('changed', () => this._noteApp());
        this._noteApp();
    }

    destroy() {
        if (this._signal)
            this._appMenu.disconnect(this._signal);
    }

    /// The title fades out when its application is gone already.
    _noteApp() {
        this._lastApp = this._appMenu?._targetApp ?? this._lastApp;
    }

    /// What is shown at the moment, as [{actors, entries}].
    parts() {
        return [...this._title(), ...this._banner(), ...this._messages()];
    }

    _part(name, actors, owners) {
        const known = owners.length ? owners.slice(0, MAX_OWNERS) : [{}];
        return {actors, entries: known.map((owner, at) => describePart(`${name}/${at}`, owner))};
    }

    _title() {
        const menu = this._appMenu;
        if (!menu?.mapped || !menu.opacity)
            return [];
        const owners = [menu._targetApp, this._lastApp].flatMap(ownersOf);
        return [this._part('title', [menu.container, menu.menu.actor], owners)];
    }

    _banner() {
        const tray = Main.messageTray;
        const source = tray.visible ? tray._notification?.source : null;
        const owners = source ? this._ownersOfSource(source) : [];
        return owners.length ? [this._part('banner', [tray], owners)] : [];
    }

    /// Empty for a source of the shell itself; an unknown owner if a program does not say who it is.
    _ownersOfSource(source) {
        const owners = ownersOf(source.app ?? source._app);
        if (source.pid)
            owners.push({pid: source.pid});
        const isOfProgram = /^(Fdo|Gtk)Notification/.test(source.constructor.name);
        return isOfProgram && !owners.length ? [{}] : owners;
    }

    /// The list of notifications and players.
    _messages() {
        const {dateMenu} = Main.panel.statusArea;
        if (!dateMenu?.menu.actor.mapped)
            return [];
        const list = dateMenu._messageList;
        const players = list?._mediaSection?._players?.values() ?? list?._messageView?._mediaSource?.players ?? [];
        const owners = [
            ...Main.messageTray.getSources().flatMap(source => this._ownersOfSource(source)),
            ...[...players].map(player => ({entry: player._mprisProxy?.DesktopEntry ?? ''})),
        ];
        return owners.length ? [this._part('messages', [list ?? dateMenu.menu.actor], owners)] : [];
    }
}

/// Windows that have closed may still fade out, and nobody knows any more whose they were.
function closedParts() {
    return allActors().some(a => a.mapped && !windowOf(a)) ? [describePart('closed/0', {})] : [];
}

/// The names and pictures by which the shell's interface shows some windows.
class Traces {
    constructor(windows) {
        const apps = windows.map(w => Shell.WindowTracker.get_default().get_window_app(w)).filter(a => a);
        const texts = [...apps.map(a => a.get_name()), ...windows.map(w => w.get_title())];
        this._texts = [...new Set(texts.map(text => text?.trim()).filter(text => text))];
        this._icons = apps.map(a => a.get_icon?.()).filter(icon => icon);
    }

    areIn(actor) {
        if (actor instanceof Clutter.Text)
            return this._texts.some(text => actor.text.includes(text));
        if (actor instanceof St.Icon)
            return !!actor.gicon && this._icons.some(icon => icon.equal(actor.gicon));
        // The shell does not record whose menu it is.
        return actor instanceof St.Widget && actor.has_style_class_name('window-menu');
    }
}

function windows() {
    return global.get_window_actors().map(windowOf).filter(w => w).slice(-MAX_WINDOWS);
}

function findWindow(id) {
    return windows().find(w => idOf(w) === id);
}

function currentTime() {
    return global.display.get_current_time_roundtrip();
}

/// The number of the active layout in the keymap of the seat; -1 if it is unknown, as with an input method.
function activeLayout() {
    const source = Keyboard.getInputSourceManager().currentSource;
    const layout = getKeyboardManager().currentLayout;
    return source?.type === 'xkb' && layout ? layout.groupIndex : -1;
}

/// Whether the shell's own interface has the keyboard and the pointer.
function isCovered() {
    return Main.overview.visible || Main.modalCount > 0 || Main.actionMode !== Shell.ActionMode.NORMAL;
}

/// Reports changes of windows, several within a moment as one.
class Changes {
    constructor(report) {
        this._report = report;
        this._connections = [];
        this._pending = 0;
        this._perWindow = new Map();
        const note = () => this._note();
        this._connect(global.display, note, 'notify::focus-window', 'restacked', 'in-fullscreen-changed');
        this._connect(global.window_manager, note, 'map', 'destroy', 'minimize', 'unminimize', 'switch-workspace');
        this._connect(global.stage, note, 'notify::key-focus');
        this._connect(Main.overview, note, 'showing', 'hidden');
        this._connect(global.display, (_display, window) => {
            this._follow(window);
            note();
        }, 'window-created');
        windows().forEach(w => this._follow(w));
    }

    _connect(object, handler, ...signals) {
        for (const signal of signals)
            this._connections.push([object, object.connect(signal, handler)]);
    }

    _follow(window) {
        const note = () => this._note();
        const signals = ['position-changed', 'size-changed', 'workspace-changed', 'notify::title', 'notify::minimized',
            'notify::wm-class', 'notify::gtk-application-id', 'notify::above', 'notify::fullscreen'];
        const ids = signals.map(signal => window.connect(signal, note));
        ids.push(window.connect('unmanaged', () => {
            this._leave(window);
            note();
        }));
        this._perWindow.set(window, ids);
    }

    _leave(window) {
        for (const id of this._perWindow.get(window) ?? [])
            window.disconnect(id);
        this._perWindow.delete(window);
    }

    _note() {
        if (this._pending)
            return;
        this._pending = GLib.timeout_add(GLib.PRIORITY_DEFAULT, CHANGE_PAUSE, () => {
            this._pending = 0;
            this._report();
            return GLib.SOURCE_REMOVE;
        });
    }

    destroy() {
        for (const [object, id] of this._connections)
            object.disconnect(id);
        for (const window of [...this._perWindow.keys()])
            this._leave(window);
        if (this._pending)
            GLib.source_remove(this._pending);
    }
}

/// What to make transparent in place of an actor. Its own opacity may be animated, and setting it would end that.
function layersOf(actor) {
    return actor.get_transition('opacity') ? actor.get_children() : [actor];
}

/// The same for a window. The shell paints nothing below a surface that is opaque, whatever the opacity of its parents.
function layersOfWindow(actor) {
    return [...layersOf(actor), ...actor.get_children().flatMap(layersOfWindow)];
}

/// Calls a method of the stage whose last parameters are (..., flags), or (..., color state, flags) in newer shells.
function paintStage(method, ...parameters) {
    const {stage} = global;
    if (stage[method].length > parameters.length)
        parameters.splice(-1, 0, stage.get_color_state());
    return stage[method](...parameters);
}

/// Pictures of a monitor without some windows and what names them. Nothing on the real screen changes: hiding, painting
/// and showing again happen before the shell draws its next frame.
class Painter {
    constructor(chrome) {
        this._chrome = chrome;
        this._pictures = 0;
        this._canvases = new Map(); // size -> {texture, framebuffer}
    }

    /// Gives the texture, and descriptions of what may be in it.
    /// leftOut  the ids of windows and of parts of the shell's interface
    /// caller   the process whose windows may be named
    paint(connector, leftOut, caller) {
        const manager = global.backend?.get_monitor_manager?.() ?? Meta.MonitorManager.get();
        const index = manager.get_monitor_for_connector(connector);
        if (index < 0)
            throw new Refusal('no such monitor');
        const actors = allActors();
        const hidden = actors.filter(a => !windowOf(a) || leftOut.has(idOf(windowOf(a))));
        const parts = this._chrome.parts();
        const secret = parts.filter(part => part.entries.some(([id]) => leftOut.has(id)));
        const others = hidden.map(windowOf).filter(w => w && w.get_pid() !== caller);
        if (others.length)
            this._assertNoListOfWindows();
        const traces = hidden.length ? this._findTraces(hidden, new Traces(others), others.length > 0) : [];
        const blank = [...secret.flatMap(part => part.actors), ...traces];
        const texture = this._paintWithout(hidden, blank, index);
        // Also those that are not on the screen themselves: the overview and others may show them.
        const shown = actors.filter(a => !hidden.includes(a)).map(windowOf);
        const named = parts.filter(part => !secret.includes(part)).flatMap(part => part.entries);
        return {texture, entries: [...shown.map(describe), ...named]};
    }

    _paintWithout(hidden, blank, index) {
        const geometry = global.display.get_monitor_geometry(index);
        const area = new RectangleInt();
        [area.x, area.y, area.width, area.height] = rectangle(geometry);
        const scale = global.display.get_monitor_scale(index);
        const flags = this._mayShowPointer(hidden)
            ? Clutter.PaintFlag.FORCE_CURSORS : Clutter.PaintFlag.NO_CURSORS;
        const layers = [...new Set([...hidden.flatMap(layersOfWindow), ...blank.flatMap(layersOf)])];
        const opacities = layers.map(a => a.opacity);
        try {
            layers.forEach(a => a.set_opacity(0));
            return this._paintArea(area, scale, flags);
        } finally {
            layers.forEach((a, i) => a.set_opacity(opacities[i]));
        }
    }

    /// These show applications as running, minimised ones too.
    _assertNoListOfWindows() {
        if (Main.overview.visible)
            throw new Refusal('the overview lists windows');
    }

    /// The shell keeps each texture that it made an image of, so the same one is painted again and again.
    _paintArea(area, scale, flags) {
        const key = `${area.width}x${area.height}x${scale}`;
        let canvas = this._canvases.get(key);
        if (!canvas) {
            const texture = paintStage('paint_to_content', area, scale, flags).get_texture();
            canvas = {texture, framebuffer: Cogl.Offscreen.new_with_texture(texture)};
            this._canvases.set(key, canvas);
        }
        paintStage('paint_to_framebuffer', canvas.framebuffer, area, scale, flags | Clutter.PaintFlag.CLEAR);
        canvas.framebuffer.flush(); // Else the texture still has the picture from before.
        return canvas.texture;
    }

    /// The pointer may be a picture that the window under it has set, or the one in which a button was pressed.
    _mayShowPointer(hidden) {
        if (!hidden.length)
            return true;
        const [x, y, modifiers] = global.get_pointer();
        const buttons = Clutter.ModifierType.BUTTON1_MASK | Clutter.ModifierType.BUTTON2_MASK |
            Clutter.ModifierType.BUTTON3_MASK | Clutter.ModifierType.BUTTON4_MASK | Clutter.ModifierType.BUTTON5_MASK;
        const isIn = r => x >= r.x && y >= r.y && x < r.x + r.width && y < r.y + r.height;
        return !(modifiers & buttons) && !hidden.some(a => {
            const [left, top] = a.get_transformed_position();
            const [width, height] = a.get_transformed_size();
            return a.mapped && isIn({x: left, y: top, width, height});
        });
    }

    /// Gives what names the hidden windows. Throws if something shows them a second time: the overview, the switcher,
    /// the magnifier and animations do. A dragged picture belongs to no window.
    _findTraces(hidden, traces, isNamed) {
        const found = [];
        const pending = global.stage.get_children();
        while (pending.length) {
            const actor = pending.pop();
            if (!actor.visible || actor instanceof Meta.WindowActor)
                continue;
            const source = actor instanceof Clutter.Clone ? actor.source : null;
            if (source && hidden.some(a => a.contains(source) || source.contains(a)))
                throw new Refusal('a window is shown twice');
            if (actor.content instanceof Clutter.TextureContent)
                throw new Refusal('a picture of the screen is on the screen');
            if (this._isOfAClient(actor))
                throw new Refusal('something is dragged');
            if (isNamed && actor instanceof SwitcherPopup)
                throw new Refusal('a list of windows is shown');
            if (isNamed && traces.areIn(actor))
                found.push(actor);
            else
                pending.push(...actor.get_children());
        }
        return found;
    }

    _isOfAClient(actor) {
        return actor.content instanceof Meta.ShapedTexture;
    }

    /// The pixels as RGBA. The shell offers them to extensions only after it has compressed them.
    pixelsOf(texture) {
        return new Promise((resolve, reject) => {
            const nowhere = Gio.File.new_for_path('/dev/null').append_to(0, null);
            Shell.Screenshot.composite_to_stream(texture, 0, 0, texture.get_width(), texture.get_height(), 1, null, 0, 0,
                1, nowhere, (_object, result) => {
                    try {
                        resolve(Shell.Screenshot.composite_to_stream_finish(result));
                    } catch (e) {
                        reject(e);
                    }
                });
        });
    }

    /// Textures and pixels are some megabytes each, which the collector does not know.
    release() {
        this._pictures += 1;
        if (this._pictures % PICTURES_BETWEEN_COLLECTIONS === 0)
            System.gc();
    }
}

/// Lends the first descriptor of a call to `use`, and closes all of them afterwards.
async function lend(descriptors, use) {
    const lent = descriptors.steal_fds();
    try {
        return await use(lent[0]);
    } finally {
        for (const descriptor of lent)
            GLib.close(descriptor);
    }
}

/// Writes all bytes to a descriptor, without blocking the shell. The size is a parameter because bytes
/// that are asked for it are never released by the engine of shell 43.
async function writeAll(descriptor, bytes, size) {
    const stream = new Gio.UnixOutputStream({fd: descriptor, close_fd: false});
    try {
        for (let at = 0; at < size;) {
            const rest = at === 0 ? bytes : bytes.new_from_bytes(at, size - at);
            at += await new Promise((resolve, reject) => {
                stream.write_bytes_async(rest, GLib.PRIORITY_DEFAULT, null, (_stream, result) => {
                    try {
                        resolve(stream.write_bytes_finish(result));
                    } catch (e) {
                        reject(e);
                    }
                });
            });
        }
    } finally {
        stream.close(null);
    }
}

/// The accelerator that pauses agents.
class HotKey {
    constructor(onPressed) {
        this._action = global.display.grab_accelerator(HOT_KEY, Meta.KeyBindingFlags.IGNORE_AUTOREPEAT);
        if (!this.isGrabbed)
            return;
        Main.wm.allowKeybinding(Meta.external_binding_name_for_action(this._action), Shell.ActionMode.ALL);
        this._signal = global.display.connect('accelerator-activated', (_display, action) => {
            if (action === this._action)
                onPressed();
        });
    }

    get isGrabbed() {
        return this._action !== Meta.KeyBindingAction.NONE;
    }

    destroy() {
        if (!this.isGrabbed)
            return;
        global.display.disconnect(this._signal);
        global.display.ungrab_accelerator(this._action);
        Main.wm.allowKeybinding(Meta.external_binding_name_for_action(this._action), Shell.ActionMode.NONE);
    }
}

/// The text of the clipboard.
class Clipboard {
    constructor(onChanged) {
        this._selection = global.display.get_selection();
        this._signal = this._selection.connect('owner-changed', (_selection, type, source) => {
            if (type === Meta.SelectionType.SELECTION_CLIPBOARD)
                onChanged(source !== null && source === this._own);
        });
    }

    /// The types of the content.
    types() {
        return this._selection.get_mimetypes(Meta.SelectionType.SELECTION_CLIPBOARD);
    }

    /// No bytes if there is no text, if it is too long, or if its owner does not deliver it.
    async read() {
        const offered = this.types();
        const type = TEXT_TYPES.find(t => offered.includes(t));
        return await (type ? this.readForm(type) : null) ?? [null, 0];
    }

    /// One form and its size; null if it is too long or its owner does not deliver it.
    async readForm(type) {
        const memory = Gio.MemoryOutputStream.new_resizable();
        const cancellable = new Gio.Cancellable();
        const watch = this._watchSilence(memory, cancellable);
        try {
            await new Promise((resolve, reject) => {
                this._selection.transfer_async(Meta.SelectionType.SELECTION_CLIPBOARD, type, MAX_TEXT + 1, memory,
                    cancellable, (selection, result) => {
                        try {
                            resolve(selection.transfer_finish(result));
                        } catch (e) {
                            reject(e);
                        }
                    });
            });
        } catch {
            return null;
        } finally {
            GLib.source_remove(watch);
        }
        const size = memory.get_data_size();
        memory.close(null);
        return size > MAX_TEXT ? null : [memory.steal_as_bytes(), size];
    }

    _watchSilence(memory, cancellable) {
        let [before, silent, seconds] = [0, 0, 0];
        return GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, 1, () => {
            const now = memory.get_data_size();
            silent = now === before ? silent + 1 : 0;
            before = now;
            seconds += 1;
            if (silent >= MAX_SILENCE || seconds >= MAX_READING)
                cancellable.cancel();
            return GLib.SOURCE_CONTINUE;
        });
    }

    /// Owned by the shell, so it outlives our program.
    write(bytes, type = TEXT_TYPES[0]) {
        this._own = Meta.SelectionSourceMemory.new(type, bytes);
        this._selection.set_owner(Meta.SelectionType.SELECTION_CLIPBOARD, this._own);
    }

    destroy() {
        this._selection.disconnect(this._signal);
    }
}

/// The first bytes of a descriptor.
function readBytes(descriptor, size) {
    const stream = new Gio.UnixInputStream({fd: descriptor, close_fd: false});
    try {
        return stream.read_bytes(size, null);
    } finally {
        stream.close(null);
    }
}

class Service {
    constructor(folder) {
        this._callers = new Callers(folder);
        this._callers.onGone = sender => this._stopListening(sender);
        this._listeners = new Set();
        this._keyListeners = new Set();
        this._chrome = new Chrome();
        this._painter = new Painter(this._chrome);
        this._exported = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
        this._exported.export(Gio.DBus.session, OBJECT_PATH);
        // Without content, so everybody may see it.
        this._exported.emit_signal('Ready', null);
    }

    destroy() {
        this._exported.emit_signal('Gone', null);
        this._exported.unexport();
        this._callers.destroy();
        this._chrome.destroy();
        this._changes?.destroy();
        this._clipboard?.destroy();
        this._hotKey?.destroy();
    }

    LookAsync(_parameters, invocation) {
        this._answer(invocation, `(${WINDOWS}(iib))`, () => {
            const [x, y] = global.get_pointer();
            const parts = this._chrome.parts().flatMap(part => part.entries);
            return [[...windows().map(describe), ...parts, ...closedParts()], [x, y, isCovered()]];
        });
    }

    LayoutAsync(_parameters, invocation) {
        this._answer(invocation, '(i)', () => [activeLayout()]);
    }

    WatchAsync(_parameters, invocation) {
        this._answer(invocation, '()', () => {
            this._listeners.add(invocation.get_sender());
            this._changes ??= new Changes(() => this._tell(this._listeners, 'Changed'));
            this._clipboard ??= new Clipboard(isOurs => {
                this._tell(this._listeners, 'TextChanged', new GLib.Variant('(b)', [isOurs]));
            });
            return [];
        });
    }

    ActivateAsync([id], invocation) {
        this._answer(invocation, '(b)', () => {
            const window = findWindow(id);
            if (window)
                Main.activateWindow(window, currentTime());
            return [!!window];
        });
    }

    PutInFrontAsync([id], invocation) {
        this._answer(invocation, '(b)', pid => {
            const window = findWindow(id);
            if (window?.get_pid() !== pid)
                return [false];
            window.make_above();
            window.stick();
            window.hide_from_window_list?.();
            Main.activateWindow(window, currentTime());
            return [true];
        });
    }

    PaintAsync([connector, leftOut], invocation, descriptors) {
        this._answer(invocation, `((uuuu)${WINDOWS})`, pid => lend(descriptors, async descriptor => {
            const painted = this._painter.paint(connector, new Set(leftOut), pid);
            const pixels = await this._painter.pixelsOf(painted.texture);
            await writeAll(descriptor, pixels.read_pixel_bytes(), pixels.get_byte_length());
            this._painter.release();
            return [[pixels.width, pixels.height, pixels.rowstride, pixels.n_channels], painted.entries];
        }));
    }

    /// `work` gets the caller's process id, and gives the values of the reply.
    async _answer(invocation, type, work) {
        try {
            const pid = await this._callers.check(invocation.get_sender());
            invocation.return_value(new GLib.Variant(type, await work(pid)));
        } catch (e) {
            const name = e instanceof Refusal ? 'Refused' : 'Failed';
            invocation.return_dbus_error(`dev.zelvo.Shell.Error.${name}`, e instanceof Refusal ? e.message : 'failed');
        }
    }

    GrabKeyAsync(_parameters, invocation) {
        this._answer(invocation, '(b)', () => {
            this._hotKey ??= new HotKey(() => this._tell(this._keyListeners, 'KeyPressed'));
            this._keyListeners.add(invocation.get_sender());
            return [this._hotKey.isGrabbed];
        });
    }

    ReadTextAsync(_parameters, invocation, descriptors) {
        this._answer(invocation, '(u)', () => lend(descriptors, async descriptor => {
            const [bytes, size] = await (this._clipboard?.read() ?? [null, 0]);
            await writeAll(descriptor, bytes, size);
            return [size];
        }));
    }

    WriteTextAsync([, size], invocation, descriptors) {
        this.WriteFormAsync([TEXT_TYPES[0], 0, size], invocation, descriptors);
    }

    ListFormsAsync(_parameters, invocation) {
        this._answer(invocation, '(as)', () => [this._clipboard?.types() ?? []]);
    }

    ReadFormAsync([type], invocation, descriptors) {
        this._answer(invocation, '(bu)', () => lend(descriptors, async descriptor => {
            const found = await this._clipboard?.readForm(type);
            if (found)
                await writeAll(descriptor, ...found);
            return [!!found, found?.[1] ?? 0];
        }));
    }

    WriteFormAsync([type, , size], invocation, descriptors) {
        this._answer(invocation, '(b)', () => lend(descriptors, descriptor => {
            if (!this._clipboard || size > MAX_TEXT)
                return [false];
            this._clipboard.write(size ? readBytes(descriptor, size) : new GLib.Bytes([]), type);
            return [true];
        }));
    }

    _tell(listeners, signal, content = null) {
        for (const listener of listeners)
            Gio.DBus.session.emit_signal(listener, OBJECT_PATH, 'dev.zelvo.Shell', signal, content);
    }

    _stopListening(sender) {
        this._listeners.delete(sender);
        this._keyListeners.delete(sender);
        if (!this._keyListeners.size) {
            this._hotKey?.destroy();
            this._hotKey = null;
        }
        if (!this._listeners.size) {
            this._changes?.destroy();
            this._changes = null;
            this._clipboard?.destroy();
            this._clipboard = null;
        }
    }
}
