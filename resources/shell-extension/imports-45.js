import Clutter from 'gi://Clutter';
import Cogl from 'gi://Cogl';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import Meta from 'gi://Meta';
import Mtk from 'gi://Mtk';
import Shell from 'gi://Shell';
import St from 'gi://St';
import System from 'system';

import * as Keyboard from 'resource:///org/gnome/shell/ui/status/keyboard.js';
import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import {getKeyboardManager} from 'resource:///org/gnome/shell/misc/keyboardManager.js';
import {SwitcherPopup} from 'resource:///org/gnome/shell/ui/switcherPopup.js';
import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';

const RectangleInt = Mtk.Rectangle;

export default class ZelvoExtension extends Extension {
    enable() {
        this._service = new Service(this.path);
    }

    disable() {
        this._service.destroy();
        this._service = null;
    }
}

