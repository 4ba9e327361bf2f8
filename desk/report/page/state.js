// What the views share. A view that changes a value tells the others with emit().

const events = new EventTarget();

export const state = {
    range: null,     // [from, to] in ms: the logs show only its lines
    selected: -1,    // index of a record
    utc: false,      // times in UTC instead of the phone's time
    hidden: new Set(),  // sources (file kinds) that are not shown
    hits: [],        // indexes of the records that match the search, rising
};

export function on(name, listener) {
    for (const one of name.split(' ')) events.addEventListener(one, listener);
}

export function emit(name) {
    events.dispatchEvent(new Event(name));
}
