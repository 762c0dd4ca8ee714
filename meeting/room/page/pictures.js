// The pictures of the participants' views, as far as somebody looks at them.
import {connection} from './connection.js';

// Draws into the canvas, if there is one, and asks for the next picture.
export async function drawPicture(id, canvas, jpeg) {
  try {
    const picture = await createImageBitmap(new Blob([jpeg], {type: 'image/jpeg'}));
    if (canvas) {
      if (canvas.width !== picture.width) canvas.width = picture.width;
      if (canvas.height !== picture.height) canvas.height = picture.height;
      canvas.getContext('2d').drawImage(picture, 0, 0);
      canvas.dataset.pictures = Number(canvas.dataset.pictures ?? 0) + 1;
    }
    picture.close();
  } finally {
    connection.send({type: 'drawn', view: id});
  }
}

// Which views are looked at: those on the screen, of a page that is.
export const looks = {
  onScreen: new Set(),
  observer: new IntersectionObserver((entries) => {
    for (const entry of entries)
      looks.onScreen[entry.isIntersecting ? 'add' : 'delete'](entry.target.dataset.view);
    looks.sendAll();
  }),

  sendAll() {
    const views = document.visibilityState === 'visible' ? [...this.onScreen] : [];
    connection.send({type: 'watch', views});
  },
};
