// The page of the charts: each section names, in data-chart, the chart that it shows.
import { get } from './api.js';
import { ChartView } from './chart_view.js';
import { enterPage } from './shell.js';
import { whenLanguageChanges } from './texts.js';

const me = await enterPage();

async function showChart(section, view) {
  const { headers, ...reply } = await get('chart', { chart: section.dataset.chart });
  if (reply.errno) return view.say(`${reply.errno.section}:${reply.errno.key}`);
  if (reply.success === false) return view.say('common:error_no_answer');
  return view.show(reply);
}

const sections = [...document.querySelectorAll('[data-chart]')];
const views = new Map(sections.map((section) => [section, new ChartView(section)]));

async function showAll() {
  for (const [section, view] of views) {
    const closed = section.dataset.for === 'administrators' && !me.may.settings;
    await (closed ? view.say('home:admin_only') : showChart(section, view));
  }
}

whenLanguageChanges(showAll);
await showAll();
