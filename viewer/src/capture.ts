// Pictures and films of what is shown: the canvas, the marks above it and the legend in one.
import type {App} from './app';
import {save} from './dom';

function composite(app: App, canvas: HTMLCanvasElement) {
  const {stage} = app;
  if (canvas.width !== stage.canvas.width || canvas.height !== stage.canvas.height) {
    canvas.width = stage.canvas.width;
    canvas.height = stage.canvas.height;
  }
  const context = canvas.getContext('2d');
  if (!context) return;
  context.setTransform(1, 0, 0, 1, 0, 0);
  context.drawImage(stage.canvas, 0, 0);
  context.drawImage(stage.overlay, 0, 0);
  context.setTransform(stage.pixelRatio, 0, 0, stage.pixelRatio, 0, 0);
  app.drawLegends(context, canvas.width / stage.pixelRatio, canvas.height / stage.pixelRatio);
}

export async function saveComposite(app: App, name: string) {
  const canvas = document.createElement('canvas');
  composite(app, canvas);
  const blob = await new Promise<Blob | null>((resolve) => canvas.toBlob(resolve, 'image/png'));
  if (blob) save(blob, name);
}

const TYPES = [['video/webm;codecs=vp9', 'webm'], ['video/webm;codecs=vp8', 'webm'], ['video/webm', 'webm'], ['video/mp4', 'mp4']];

export class Recorder {
  private readonly canvas = document.createElement('canvas');
  private readonly recorder: MediaRecorder;

  /** Throws an Error where the browser cannot record. */
  constructor(private readonly app: App, name: string, tell: (text: string) => void) {
    const type = typeof MediaRecorder === 'undefined' ? undefined : TYPES.find(([one]) => MediaRecorder.isTypeSupported(one));
    if (!type || !this.canvas.captureStream) throw new Error('This browser cannot record films.');
    composite(app, this.canvas);
    this.recorder = new MediaRecorder(this.canvas.captureStream(30), {mimeType: type[0], videoBitsPerSecond: 12e6});
    const pieces: Blob[] = [];
    this.recorder.ondataavailable = (event) => pieces.push(event.data);
    this.recorder.onstop = () => {
      save(new Blob(pieces, {type: type[0]}), `${name}.${type[1]}`);
      tell('Film saved');
    };
    this.recorder.start();
  }

  take() {
    composite(this.app, this.canvas);
  }

  stop() {
    this.recorder.stop();
  }
}
