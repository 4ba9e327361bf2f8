'use strict';
// The pages work without this script. With it, they show new catches, and a token opens them.

const login = document.getElementById('login');
const status = document.getElementById('status');

if (login) {
    login.addEventListener('submit', async event => {
        event.preventDefault();
        // A header keeps the token out of addresses, which browsers store.
        const headers = {Authorization: `Bearer ${login.elements.token.value}`};
        const reply = await fetch('/login', {headers}).catch(() => null);
        if (reply?.ok) location.reload();
        else status.textContent = reply ? 'This is not the token.' : 'The server does not answer.';
    });
}

/** Puts the current state of the view in place of the shown one. */
function refresh() {
    const request = new XMLHttpRequest();
    request.responseType = 'document';  // a parsed page whose scripts do not run
    request.addEventListener('load', () => {
        const page = request.response;
        if (request.status !== 200 || !page?.body.dataset.changes) return;
        const view = document.getElementById('view');
        const focused = view.contains(document.activeElement) ? document.activeElement.getAttribute('href') : null;
        const open = [...view.querySelectorAll('details')].map(details => details.open);
        view.replaceChildren(...page.getElementById('view').childNodes);
        view.querySelectorAll('details').forEach((details, i) => details.open = open[i] ?? false);
        if (focused) [...view.querySelectorAll('a')].find(a => a.getAttribute('href') === focused)?.focus();
        document.body.dataset.changes = page.body.dataset.changes;
        status.textContent = `Updated at ${new Date().toLocaleTimeString()}`;
    });
    request.open('GET', location.href);
    request.send();
}

async function look() {
    if (document.hidden) return;
    const reply = await fetch('/changes').catch(() => null);
    if (!reply?.ok) status.textContent = 'The server does not answer.';
    else if (await reply.text() !== document.body.dataset.changes) refresh();
    else if (status.textContent.endsWith('answer.')) status.textContent = '';
}

if (document.body.dataset.changes) {
    setInterval(look, 2000);
    document.addEventListener('visibilitychange', look);
}
