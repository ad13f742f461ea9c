const {Clutter, Cogl, Gio, GLib, Meta, Shell, St} = imports.gi;
const {RectangleInt} = imports.gi.cairo;
const Keyboard = imports.ui.status.keyboard;
const Main = imports.ui.main;
const {getKeyboardManager} = imports.misc.keyboardManager;
const {SwitcherPopup} = imports.ui.switcherPopup;
const System = imports.system;
const ExtensionUtils = imports.misc.extensionUtils;

class ZelvoExtension {
    enable() {
        this._service = new Service(ExtensionUtils.getCurrentExtension().path);
    }

    disable() {
        this._service.destroy();
        this._service = null;
    }
}

// eslint-disable-next-line no-unused-vars
function init() {
    return new ZelvoExtension();
}

