export async function drawPicture() {}
