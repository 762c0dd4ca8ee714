// What all parts of the page need of its elements.
export const byId = (id) => document.getElementById(id);
