// Pointer and wheel on the timeline, told as what the user means.

const kClick = 4;  // a shorter drag is a click

export function dragAndZoom(element, {zoom, pan, brush, brushed, click, hover}) {
    let start = null;
    const x = event => event.clientX - element.getBoundingClientRect().left;
    element.addEventListener('pointerdown', event => {
        if (event.button !== 0) return;
        element.setPointerCapture(event.pointerId);
        start = x(event);
    });
    element.addEventListener('pointermove', event => {
        hover(x(event));
        if (start !== null && Math.abs(x(event) - start) >= kClick) {
            brush(Math.min(start, x(event)), Math.max(start, x(event)));
        }
    });
    element.addEventListener('pointerup', event => {
        if (start === null) return;
        const [from, to] = [Math.min(start, x(event)), Math.max(start, x(event))];
        start = null;
        if (to - from < kClick) click(from, event.clientY - element.getBoundingClientRect().top);
        else brushed(from, to);
    });
    element.addEventListener('pointercancel', () => start = null);
    element.addEventListener('pointerleave', () => hover(null));
    element.addEventListener('wheel', event => {
        event.preventDefault();
        if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
            pan((event.deltaX || event.deltaY) / element.clientWidth);
        } else {
            zoom(1.2 ** Math.sign(event.deltaY), x(event));
        }
    }, {passive: false});
}
