// Behind a one-time link: exchanges the code in its fragment for a session of this browser tab.

import { beginSession } from "/page/session.js";

const code = location.hash.slice(1);
history.replaceState(null, "", location.pathname); // The code works once, but need not be kept.
await beginSession(code);
location.replace("/"); // Leads on to the locked page if there is no session.
