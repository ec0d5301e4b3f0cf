// A name as people read it: marks that turn the direction of the text behind them, with which "exe.jpg" is shown for a file
// that ends in ".exe", are seen as such.
const kTurningMarks = /[\u202a-\u202e\u2066-\u2069]/g;

export const inSight = (name) => name.replace(kTurningMarks, '\ufffd');
