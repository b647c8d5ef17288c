// What all charts have alike, so that they stand exactly below each other, in CSS pixels.

export const kGutter = 62;
export const kRight = 10;
